#pragma once
/// @file
/// AVO_OBJECTMODEL_EXPORT: marks the declarations that make up the interface
/// of libavoobjectmodel. The library is built with hidden visibility, so only
/// what carries this mark is visible to the programs that link it; every
/// other function stays internal and may change freely.

#if defined(__GNUC__) || defined(__clang__)
/// Makes a class (with its vtable and type information), a function or a
/// variable visible outside libavoobjectmodel. Put it before the name:
/// `class AVO_OBJECTMODEL_EXPORT KnxValueConverter`,
/// `AVO_OBJECTMODEL_EXPORT bool CheckGroupValue(...);`.
#define AVO_OBJECTMODEL_EXPORT __attribute__((visibility("default")))
#else
#define AVO_OBJECTMODEL_EXPORT
#endif
