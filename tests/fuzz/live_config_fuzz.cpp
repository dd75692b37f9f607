// Any text as the configuration of a live run, and any of its words as a URL.

#include "gnx/error.h"
#include "link/stream_url.h"
#include "live/live_options.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const auto read = [](auto&& reading) {
    try {
      reading();
    } catch (const gnx::Error&) {  // told in a sentence
    }
  };
  read([&] {
    for (const std::string& word : gnx::wordsOfJson(text, "fuzz"))
      read([&] { gnx::parseStreamUrl(word.substr(word.find('=') + 1)); });
  });
  read([&] { gnx::parseStreamUrl(text); });
  return 0;
}
