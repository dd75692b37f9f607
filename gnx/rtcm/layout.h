#pragma once
// Message layouts as data: a table of fields serves reading and writing alike.

#include <array>
#include <cmath>
#include <cstdint>
#include <span>

#include "gnx/error.h"
#include "rtcm/bits.h"

namespace gnx::rtcm {

/// How a number stands in its bits.
enum class Form { natural, complement, magnitude };

/// A field of a message; the value is the number times the scale.
template <typename Item>
struct Field {
  Item item;
  int bits;
  Form form = Form::natural;
  double scale = 1.0;
};

/// The content of a message by items, as the numbers that are sent and the scales of their fields.
template <typename Item>
class Content {
 public:
  void read(BitReader& bits, std::span<const Field<Item>> layout) {
    for (const Field<Item>& field : layout) {
      auto& entry = m_entries[index(field.item)];
      entry.scale = field.scale;
      entry.number = field.form == Form::natural      ? static_cast<std::int64_t>(bits.u(field.bits))
                     : field.form == Form::complement ? bits.i(field.bits)
                                                      : bits.s(field.bits);
    }
  }
  /// Values are rounded to the fields' scales. \throws UsageError when one does not fit
  static void write(BitWriter& bits, std::span<const Field<Item>> layout,
                    const std::array<double, static_cast<std::size_t>(Item::count)>& values) {
    for (const Field<Item>& field : layout) {
      const double number = std::round(values[index(field.item)] / field.scale);
      const double span = std::ldexp(1.0, field.form == Form::natural ? field.bits : field.bits - 1);
      const double least = field.form == Form::natural      ? 0.0
                           : field.form == Form::complement ? -span
                                                            : 1.0 - span;
      if (!(number >= least && number < span))
        throw UsageError("a value does not fit its field of " + std::to_string(field.bits) + " bits");
      const auto sent = static_cast<std::int64_t>(number);
      if (field.form == Form::magnitude) {
        bits.s(sent, field.bits);
      } else {
        bits.i(sent, field.bits);
      }
    }
  }

  std::int64_t number(Item item) const { return m_entries[index(item)].number; }
  int integer(Item item) const { return static_cast<int>(number(item)); }
  double value(Item item) const {
    const Entry& entry = m_entries[index(item)];
    return static_cast<double>(entry.number) * entry.scale;
  }

 private:
  struct Entry {
    std::int64_t number = 0;
    double scale = 1.0;
  };
  static constexpr std::size_t index(Item item) { return static_cast<std::size_t>(item); }

  std::array<Entry, static_cast<std::size_t>(Item::count)> m_entries{};
};

}  // namespace gnx::rtcm
