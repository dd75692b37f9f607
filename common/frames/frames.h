#pragma once
/// \file frames.h
/// Frames between processes of one build on one machine.
///
/// A frame is its kind and the size of its content (two 32-bit numbers), then the content: numbers in the
/// machine's own form one behind the other; texts and lists begin with their length (32 bits).

#include <cstdint>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace gnx {

/// What stands before the content.
struct FrameHead {
  std::uint32_t kind = 0, size = 0;
};

/// Takes values apart into bytes. A type of its own has a function fields(archive, value) that names its
/// members, for both directions.
class FrameWriter {
 public:
  template <class... T>
  void operator()(const T&... values) {
    (put(values), ...);
  }
  const std::string& bytes() const { return m_bytes; }
  void clear() { m_bytes.clear(); }

 private:
  void raw(const void* data, std::size_t size) { m_bytes.append(static_cast<const char*>(data), size); }
  void length(std::size_t n) { put(static_cast<std::uint32_t>(n)); }

  void put(const std::string& text) {
    length(text.size());
    raw(text.data(), text.size());
  }
  template <class T>
  void put(const std::vector<T>& list) {
    length(list.size());
    for (const T& item : list) put(item);
  }
  template <class K, class V>
  void put(const std::map<K, V>& map) {
    length(map.size());
    for (const auto& [key, value] : map) put(key), put(value);
  }
  template <class K>
  void put(const std::set<K>& set) {
    length(set.size());
    for (const K& item : set) put(item);
  }
  template <class A, class B>
  void put(const std::pair<A, B>& both) {
    put(both.first);
    put(both.second);
  }
  template <class T>
  void put(const std::optional<T>& value) {
    put(value.has_value());
    if (value) put(*value);
  }
  template <class T>
  void put(const T& value) {
    if constexpr (std::is_trivially_copyable_v<T>) raw(&value, sizeof value);
    else fields(*this, const_cast<T&>(value));
  }

  std::string m_bytes;
};

/// Puts values together again. \throws EngineError for bytes that are not the value asked for
class FrameReader {
 public:
  explicit FrameReader(std::string_view bytes) : m_bytes(bytes) {}
  template <class... T>
  void operator()(T&... values) {
    (get(values), ...);
  }

 private:
  void raw(void* data, std::size_t size);
  /// Of items of at least a byte each.
  std::size_t length();

  void get(std::string& text) {
    text.resize(length());
    raw(text.data(), text.size());
  }
  template <class T>
  void get(std::vector<T>& list) {
    list.resize(length());
    for (T& item : list) get(item);
  }
  template <class K, class V>
  void get(std::map<K, V>& map) {
    map.clear();
    for (std::size_t n = length(); n > 0; --n) {
      K key{};
      get(key);
      get(map[key]);
    }
  }
  template <class K>
  void get(std::set<K>& set) {
    set.clear();
    for (std::size_t n = length(); n > 0; --n) {
      K item{};
      get(item);
      set.insert(std::move(item));
    }
  }
  template <class A, class B>
  void get(std::pair<A, B>& both) {
    get(both.first);
    get(both.second);
  }
  template <class T>
  void get(std::optional<T>& value) {
    bool has = false;
    get(has);
    value.reset();
    if (has) get(value.emplace());
  }
  template <class T>
  void get(T& value) {
    if constexpr (std::is_trivially_copyable_v<T>) raw(&value, sizeof value);
    else fields(*this, value);
  }

  std::string_view m_bytes;
};

/// One end of the connection; closed with the object.
class FrameChannel {
 public:
  explicit FrameChannel(int descriptor) : m_descriptor(descriptor) {}
  ~FrameChannel();
  FrameChannel(const FrameChannel&) = delete;
  FrameChannel& operator=(const FrameChannel&) = delete;

  /// False when the other end is gone.
  template <class Kind>
  bool send(Kind kind, const std::string& content) {
    return sendFrame(static_cast<std::uint32_t>(kind), content);
  }
  /// A frame that nobody waits for: it goes with the next one that is sent.
  template <class Kind>
  bool post(Kind kind, const std::string& content) {
    return postFrame(static_cast<std::uint32_t>(kind), content);
  }
  /// False when the other end is gone.
  template <class Kind>
  bool receive(Kind& kind, std::string& content) {
    std::uint32_t number = 0;
    const bool any = receiveFrame(number, content);
    kind = static_cast<Kind>(number);
    return any;
  }
  int descriptor() const { return m_descriptor; }
  /// Whether something has arrived of which the descriptor does not tell any more.
  bool holdsBytes() const { return m_begin < m_end; }
  void close();

 private:
  bool sendFrame(std::uint32_t kind, const std::string& content);
  bool postFrame(std::uint32_t kind, const std::string& content);
  bool receiveFrame(std::uint32_t& kind, std::string& content);
  bool receiveAll(char* data, std::size_t size);

  int m_descriptor;
  std::string m_posted;
  std::vector<char> m_arrived;  ///< m_begin..m_end-1 not taken yet
  std::size_t m_begin = 0, m_end = 0;
};

}  // namespace gnx
