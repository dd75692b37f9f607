#pragma once
/// \file NumericLocale.h
/// Numbers are read and written with a decimal point, whatever the locale of the host's thread.

#include <locale.h>

namespace tarvio {

/// Holds while it lives, for the calling thread.
class NumericLocale {
 public:
  NumericLocale() : m_before(uselocale(s_plain())) {}
  ~NumericLocale() { uselocale(m_before); }
  NumericLocale(const NumericLocale&) = delete;
  NumericLocale& operator=(const NumericLocale&) = delete;

 private:
  static locale_t s_plain() {
    static const locale_t plain = newlocale(LC_NUMERIC_MASK, "C", static_cast<locale_t>(nullptr));
    return plain;
  }
  locale_t m_before;
};

}  // namespace tarvio
