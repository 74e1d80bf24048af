// Any bytes, read as a request frame and as an answer frame, must neither
// crash nor read out of bounds; what decodes must encode to a frame that
// decodes to the same again (the bytes may differ only in the order of
// property and device configuration entries, which are kept sorted).
#include "Polt/DeviceStackProtocol.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib> // std::abort
#include <vector>

namespace {

namespace Protocol = Polt::DeviceStackProtocol;

void Check(bool condition) {
  if (!condition) {
    std::abort();
  }
}

// The frame as the codec writes it, without its length prefix.
std::vector<std::uint8_t> WithoutPrefix(const std::vector<std::uint8_t>& frame) {
  return std::vector<std::uint8_t>(frame.begin() + Protocol::LengthPrefixSize, frame.end());
}

void CheckFrame(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::uint8_t> input(data, data + size);
  const auto request = Protocol::DecodeRequest(data, size);
  if (request) {
    const std::vector<std::uint8_t> encoded =
        WithoutPrefix(Protocol::EncodeRequest(request.Value()));
    Check(encoded.size() == input.size());
    const auto again = Protocol::DecodeRequest(encoded.data(), encoded.size());
    Check(again && WithoutPrefix(Protocol::EncodeRequest(again.Value())) == encoded);
  } else {
    (void)Protocol::KindName(request.Error().header ? request.Error().header->kind
                                                    : Protocol::MessageKind::ProtocolError);
  }
  const auto answer = Protocol::DecodeAnswer(data, size);
  if (answer) {
    Check(WithoutPrefix(Protocol::EncodeAnswer(answer.Value())) == input);
  }
  Check(!(request && answer)); // the answer flag tells them apart
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size >= Protocol::LengthPrefixSize) {
    const auto length = Protocol::DecodeFrameLength(data);
    Check(!length ||
          (length.Value() >= Protocol::HeaderSize && length.Value() <= Protocol::MaxFrameSize));
  }
  if (size <= Protocol::MaxFrameSize) {
    CheckFrame(data, size);
  }
  return 0;
}
