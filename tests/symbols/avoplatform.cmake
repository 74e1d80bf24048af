# The interface of the platform layer (docs/api.md): everything its public
# headers declare, the logging macros' helpers in Avo::detail included. The
# value record's internals and the float codec are not part of it.
set(own_names
  VELVALUE VELTIME KNXDPT VelDP VelValueToByteArray ByteArrayToVelValue operator<<
  KnxStack Polt AvoApp::TimeOfDay AvoApp::DayOfWeek
  Avo::ConfigureLogging Avo::GetLoggingContext Avo::SetLoggingContext
  Avo::PrettyFunctionNamePrinter Avo::LoggingRecursionPadding Avo::LogEntryFormatter
  Avo::AssertionFailed Avo::detail
  Avo::UTF8String Avo::KnxStyleString Avo::getLatin1FromUTF8Lossy Avo::getUTF8FromLatin1)

set(vague_names "")

set(required
  "^VELVALUE::Serialize\\("
  "^VELTIME::SetDateTime\\("
  "^KNXDPT::ToString"
  "^VelValueToByteArray\\("
  "^KnxStack::GroupValue::SetAsFloat16\\("
  "^typeinfo for KnxStack::GroupValueException$"
  "^typeinfo for Avo::AssertionFailed$"
  "^typeinfo for Polt::IDeviceStackClient$"
  "^Polt::SimulatedDeviceStackClient::SimulatedDeviceStackClient\\("
  "^Avo::detail::g_globalDefaultLogger$"
  "^Avo::detail::FailAssertion\\("
  "^Avo::UTF8String::Create\\("
  "^AvoApp::TimeOfDay::Create\\(")
