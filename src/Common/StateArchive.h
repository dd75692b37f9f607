#pragma once
/// \file StateArchive.h
/// What an object knows as bytes, and back. One function of a class, m_fields, names the members for both
/// directions; what is trivially copyable goes as it stands in memory, so that the bytes belong to the build
/// that made them.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

namespace tarvio {

class StateArchive {
 public:
  /// Writes.
  StateArchive() = default;
  /// Reads what another one has written; the bytes must outlive it. \throws std::runtime_error later, for
  /// bytes that are too few
  explicit StateArchive(std::string_view bytes) : m_reading(true), m_rest(bytes) {}

  bool m_reads() const { return m_reading; }
  const std::string& m_bytes() const { return m_written; }

  template <class... T>
  void operator()(T&... values) {
    (m_value(values), ...);
  }
  /// Consecutive items.
  template <class T>
  void m_items(T* items, std::size_t count) {
    if constexpr (std::is_trivially_copyable_v<T>) {
      m_raw(items, count * sizeof(T));
    } else {
      for (std::size_t i = 0; i < count; ++i) m_value(items[i]);
    }
  }
  /// The number of items that follow, each of a byte at least.
  std::size_t m_count(std::size_t count) {
    auto n = static_cast<std::uint64_t>(count);
    m_raw(&n, sizeof n);
    if (m_reading && n > m_rest.size()) s_fail();
    return static_cast<std::size_t>(n);
  }

 private:
  [[noreturn]] static void s_fail() { throw std::runtime_error("the saved state ends too early"); }

  void m_raw(void* data, std::size_t size) {
    if (size == 0) return;
    if (!m_reading) {
      m_written.append(static_cast<const char*>(data), size);
      return;
    }
    if (size > m_rest.size()) s_fail();
    std::memcpy(data, m_rest.data(), size);
    m_rest.remove_prefix(size);
  }

  template <class K, class V>
  void m_value(std::map<K, V>& map) {
    const std::size_t n = m_count(map.size());
    if (!m_reading) {
      for (auto& [key, value] : map) {
        K copy = key;
        m_value(copy);
        m_value(value);
      }
      return;
    }
    map.clear();
    for (std::size_t i = 0; i < n; ++i) {
      K key{};
      m_value(key);
      m_value(map[key]);
    }
  }
  template <class T, std::size_t N>
  void m_value(T (&items)[N]) {
    m_items(items, N);
  }
  template <class T>
  void m_value(T& value) {
    if constexpr (requires { value.m_fields(*this); }) {
      value.m_fields(*this);
    } else if constexpr (requires { value.resize(std::size_t{}); }) {  // texts, lists
      value.resize(m_count(value.size()));
      for (auto& item : value) m_value(item);
    } else {
      static_assert(std::is_trivially_copyable_v<T> && !std::is_pointer_v<T>);
      m_raw(&value, sizeof value);
    }
  }

  bool m_reading = false;
  std::string m_written;
  std::string_view m_rest;
};

/// FNV-1a.
inline std::uint64_t s_checksum(std::string_view bytes) {
  std::uint64_t sum = 14695981039346656037ULL;
  for (const char c : bytes) sum = (sum ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
  return sum;
}

}  // namespace tarvio
