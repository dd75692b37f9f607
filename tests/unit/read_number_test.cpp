// Numbers of tables are read to the last bit as the library of the language reads them.

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cstdint>
#include <random>
#include <string>

#include "text/fields.h"
#include "text/printed.h"

namespace gnx::test {
namespace {

void expectSame(const std::string& text) {
  double ours = -7.0, theirs = -7.0;
  const auto a = readNumber(text.data(), text.data() + text.size(), ours);
  const auto b = std::from_chars(text.data(), text.data() + text.size(), theirs);
  EXPECT_EQ(a.ptr, b.ptr) << text;
  EXPECT_EQ(a.ec, b.ec) << text;
  EXPECT_EQ(std::bit_cast<std::uint64_t>(ours), std::bit_cast<std::uint64_t>(theirs)) << text;
}

TEST(ReadNumber, IsThatOfTheLanguage) {
  for (const char* text : {"",
                           "-",
                           ".",
                           "-.",
                           ".5",
                           "5.",
                           "-5.",
                           "0",
                           "-0.000",
                           "1.5e3",
                           "1.5E-7",
                           "1e",
                           "1ee",
                           "1.2.3",
                           "12 ",
                           "1-2",
                           "nan",
                           "-inf",
                           "x",
                           "123456789012345",
                           "1234567890123456",
                           "999999999999999.9",
                           "0.000000000000001",
                           "0.0000000000000001",
                           "123456789.123456789",
                           "9007199254740993",
                           "1e400",
                           "--1",
                           "+1",
                           "00012.500"})
    expectSame(text);
  std::mt19937_64 random(7);
  for (int i = 0; i < 100000; ++i) {
    const double value = std::uniform_real_distribution(-1.3e8, 1.3e8)(random);
    expectSame(
        printed("%.*f", static_cast<int>(random() % 9), value / static_cast<double>(1 + random() % 5000)));
  }
}

}  // namespace
}  // namespace gnx::test
