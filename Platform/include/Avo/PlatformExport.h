#pragma once
/// @file
/// AVO_PLATFORM_EXPORT: marks the declarations that make up the platform
/// layer's interface. The layer is built with hidden visibility, so only what
/// carries this mark is visible to the programs and libraries that link it.

#if defined(__GNUC__) || defined(__clang__)
/// Makes a class (with its vtable and type information), a function or a
/// variable visible outside the platform library. Put it before the name:
/// `class AVO_PLATFORM_EXPORT GroupValue`, `AVO_PLATFORM_EXPORT bool F();`.
#define AVO_PLATFORM_EXPORT __attribute__((visibility("default")))
#else
#define AVO_PLATFORM_EXPORT
#endif
