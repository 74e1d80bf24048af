# The interface of libavoobjectmodel (docs/api.md): the converters, the group
# value bridge, the object-model identifiers, the request messenger and the app
# host configuration. Helpers in detail namespaces, the catalogue's builder and
# the converters' block cache are internal and must not appear.
set(own_names
  # value conversion, with the rows and converters that its interface holds
  Avo::KnxValueConverter Avo::AvoKnxValueConverter Avo::DptValueEntry Avo::DptValueMap
  Avo::KnxConverter Avo::KnxConverterDefault Avo::KnxConverter1Bit Avo::KnxConverter2Bit
  Avo::KnxConverter4Bit Avo::KnxConverter8BitString Avo::KnxConverterByte8BitUnsigned
  Avo::KnxConverterInteger8BitSigned Avo::KnxConverterStatus8Bit
  Avo::KnxConverterInteger16BitUnsigned Avo::KnxConverterInteger16BitSigned
  Avo::KnxConverterInteger24BitUnsigned Avo::KnxConverterInteger32BitUnsigned
  Avo::KnxConverterInteger32BitSigned Avo::KnxConverterFloat16BitFloat
  Avo::KnxConverterFloat32BitFloat Avo::KnxConverterDate Avo::KnxConverterTimeOfDay
  Avo::KnxConverterDateTime Avo::KnxConverterSceneNumber Avo::KnxConverterSceneControl
  Avo::KnxConverterSceneInfo Avo::KnxConverter14ByteString
  Avo::KnxConverterDescription Avo::DescribeKnxConverter
  Avo::IntegerRange Avo::LongIntegerRange Avo::FloatIntegerRange Avo::FloatRange
  Avo::operator<<
  # group value bridge
  Avo::VelValueToGroupValue Avo::GroupValueToVelValue Avo::CheckGroupValue Avo::RepairUTF8
  Avo::ToVelValue AvoApp::FromVelTime AvoApp::ToVelWeekday
  # object-model identifiers
  Avo::KnxKelMapping
  # request messaging
  Avo::Docket Avo::DscAsyncRequestMessenger Avo::RequestMessengerDeviceStack
  Avo::RemoteRequestMessengerDeviceStack
  # app host configuration
  Avo::AppHostConfiguration Avo::LoadFile)

# Header-only types of the public headers, and the platform's types.
set(vague_names
  Avo::BoundedInt Avo::LogicalDeviceIdTag Avo::ParameterType Avo::function
  VELVALUE VELTIME KNXDPT KnxStack Polt Avo::AssertionFailed Avo::UTF8String
  AvoApp::TimeOfDay AvoApp::DayOfWeek)

set(required
  "^Avo::KnxValueConverter::Init\\(\\)$"
  "^Avo::KnxValueConverter::ToKnxValue\\("
  "^Avo::AvoKnxValueConverter::FromKnxValue\\("
  "^Avo::DptValueMap::GetEmptyEntry\\(\\)$"
  "^typeinfo for Avo::KnxConverter$"
  "^vtable for Avo::KnxConverterFloat16BitFloat$"
  "^Avo::KnxConverter::operator new\\("
  "^Avo::FloatRange::FloatRange\\("
  "^Avo::VelValueToGroupValue\\("
  "^Avo::GroupValueToVelValue\\("
  "^Avo::CheckGroupValue\\("
  "^Avo::RepairUTF8\\("
  "^AvoApp::FromVelTime\\("
  "^AvoApp::ToVelWeekday\\("
  "^Avo::KnxKelMapping::GetCoChannelObjModelId\\("
  "^Avo::DscAsyncRequestMessenger::SetValue\\("
  "^typeinfo for Avo::RequestMessengerDeviceStack$"
  "^Avo::RemoteRequestMessengerDeviceStack::RemoteRequestMessengerDeviceStack\\("
  "^Avo::AppHostConfiguration::LoadConfigurationFile\\(\\)$"
  "^Avo::LoadFile\\(")
