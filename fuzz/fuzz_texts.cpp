// Names and URLs as a user gives them, and the bytes of a caption track with their times. The first byte
// chooses which.

#include <algorithm>
#include <string>
#include <string_view>

#include "filter/logic/line21_text_decoder.h"
#include "filter/logic/source_name.h"
#include "filter/logic/text_delivery.h"
#include "filter/logic/url_parameter_store.h"
#include "fuzz/memory_file.h"

namespace {

using namespace kt;
using kt::fuzz::Ignore;
using kt::fuzz::Require;

constexpr std::size_t kRowsOfScreen = 4;
// "<br>" behind each row.
constexpr std::size_t kLongestScreen = kRowsOfScreen * (Line21TextDecoder::kLongestRow + 4);

void ReadName(const std::string& name) {
  SourceName parsed;
  if (ParseSourceName(name.c_str(), &parsed) != FilterResult::Ok) {
    Require(parsed.path.empty() && !parsed.isUrl, "what is refused leaves the name alone");
  } else if (parsed.isUrl) {
    Require(parsed.path.find('&') == std::string::npos, "a path ends at the first parameter");
    Require(parsed.path.size() + parsed.callbackName.size() < kSourceNameRoom, "no name grows");
  } else {
    Require(parsed.path == name.c_str(), "a name is its path");
  }
  UrlParameterStore parameters;
  Ignore(parameters.Parse(name.c_str()));
  i32 number = 0;
  for (const char* key : {"cc", "mdccid", "vmr9", "adapt", ""}) {
    Ignore(parameters.GetInt(key, &number));
    const std::string value = parameters.GetString(key);
    Require(name.find(value) != std::string::npos && value.find('&') == std::string::npos,
            "a value is a piece of the URL");
  }
  SourceSwitches switches;
  ApplyUrlParameters(parameters, &switches);
  ApplyCaptionMode(name, &switches);
}

class Receiver final : public CaptionReceiver {
 public:
  void SendScreenText(const char* text) override {
    Require(std::string_view(text).size() <= kLongestScreen, "a screen has four rows");
  }
  void AddCaptionText(i64 time, const char* text) override {
    Require(std::string_view(text).size() <= Line21TextDecoder::kLongestRow, "a row has a length");
    Ignore(TimeText(time));
  }
};

// Groups of a length, so many bytes, and a time that steps by their first byte in all directions.
void DecodeCaptions(const u8* data, std::size_t size) {
  Receiver receiver;
  Line21TextDecoder decoder(receiver);
  u64 time = 0;
  while (size > 1) {
    const std::size_t count = std::min<std::size_t>(data[0] < 0xF0 ? 2 : data[0] & 0x0F, size - 1);
    // A buffer of its own, so that a byte too much is seen.
    const std::string pair(reinterpret_cast<const char*>(data) + 1, count);
    time = time * 5 + data[0];
    decoder.Decode(reinterpret_cast<const u8*>(pair.data()), static_cast<i32>(count), static_cast<i64>(time));
    data += 1 + count;
    size -= 1 + count;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* data, std::size_t size) {
  if (size == 0) return 0;
  if (data[0] & 1) {
    DecodeCaptions(data + 1, size - 1);
  } else {
    ReadName(std::string(reinterpret_cast<const char*>(data) + 1, size - 1));
  }
  return 0;
}
