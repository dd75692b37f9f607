#pragma once
/// \file guard.h
/// What stands between the library and a host in C: handles that are no addresses, and errors as numbers.

#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>

#include "gnx.h"

namespace gnx::c {

/// What a call ends with when it is no GNX_OK; never leaves the interface.
struct Failure {
  gnx_status status;
  std::string message;
};

[[noreturn]] inline void fail(gnx_status status, const std::string& message) {
  throw Failure{status, message};
}

/// Keeps the message for gnx_last_error of this thread.
void remember(const char* message) noexcept;
/// The status of the exception that is being handled, its message kept.
gnx_status statusOfException() noexcept;

/// Runs the body of a call. \param body  returns a status or nothing
template <class Body>
gnx_status guarded(Body body) noexcept {
  try {
    if constexpr (std::is_void_v<decltype(body())>) {
      body();
      return GNX_OK;
    } else {
      return body();
    }
  } catch (...) {
    return statusOfException();
  }
}

/// An object behind a handle, and the lock for which its callers wait.
template <class T>
struct Held {
  template <class... Args>
  explicit Held(Args&&... args) : object(std::forward<Args>(args)...) {}
  std::mutex mutex;
  T object;
};

/// The open handles of a kind. Numbers are never given twice, so that a stale handle is always known as one.
template <class Handle, class T>
class Handles {
 public:
  Handle* open(std::shared_ptr<Held<T>> held) {
    const std::lock_guard lock(m_mutex);
    const std::uintptr_t number = nextNumber();
    m_open.emplace(number, std::move(held));
    return reinterpret_cast<Handle*>(number);
  }
  /// The object lives as long as the caller holds it, whoever closes the handle meanwhile.
  std::shared_ptr<Held<T>> find(const Handle* handle) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_open.find(reinterpret_cast<std::uintptr_t>(handle));
    if (found == m_open.end())
      fail(GNX_BAD_HANDLE, "the handle is closed, of another kind, or was never opened");
    return found->second;
  }
  void close(const Handle* handle) {
    if (handle == nullptr) return;
    std::shared_ptr<Held<T>> last = find(handle);
    {
      const std::lock_guard lock(m_mutex);
      m_open.erase(reinterpret_cast<std::uintptr_t>(handle));
    }
    const std::lock_guard wait(last->mutex);
  }

 private:
  /// Odd numbers are no addresses of anything; kinds share them, so that none is taken for another.
  static std::uintptr_t nextNumber();

  std::mutex m_mutex;
  std::map<std::uintptr_t, std::shared_ptr<Held<T>>> m_open;
};

/// Number for the next handle of any kind.
std::uintptr_t takeNumber() noexcept;
template <class Handle, class T>
std::uintptr_t Handles<Handle, T>::nextNumber() {
  return takeNumber();
}

// ---- arguments ----

template <class T>
T& required(T* pointer, const char* name) {
  if (pointer == nullptr) fail(GNX_BAD_ARGUMENT, std::string(name) + " is null");
  return *pointer;
}

/// Sizes of a structure that a host may have: that of this release, the first, and larger ones of later
/// releases, of which the beginning counts.
template <class T>
void checkSize(std::size_t size, const char* name) {
  if (size < sizeof(T) || size > 16 * sizeof(T))
    fail(GNX_BAD_ARGUMENT, std::string(name) + " has a size of " + std::to_string(size) + " bytes, " +
                               std::to_string(sizeof(T)) + " are expected; set it to sizeof");
}

/// Place of an element in an array of the host.
template <class T>
T* element(T* array, std::size_t size, std::size_t index) {
  using Byte = std::conditional_t<std::is_const_v<T>, const char, char>;
  return reinterpret_cast<T*>(reinterpret_cast<Byte*>(array) + size * index);
}

/// Checks an array of the host before any of it is read.
template <class T>
void checkArray(const T* array, std::size_t size, std::size_t count, const char* name) {
  constexpr std::size_t kMost = 100000;  // more records in one call are a mistake
  if (count == 0) return;
  required(array, name);
  checkSize<T>(size, name);
  if (count > kMost)
    fail(GNX_BAD_ARGUMENT, std::string(name) + " has " + std::to_string(count) + " elements");
}

/// Gives a text to a host, as much as fits with its end.
void copyText(const std::string& from, char* text, std::size_t capacity, std::size_t* needed);

/// Text in a field of a structure, which must hold its end.
template <std::size_t N>
std::string fieldText(const char (&field)[N], const char* name) {
  const void* end = std::memchr(field, 0, N);
  if (end == nullptr) fail(GNX_BAD_ARGUMENT, std::string(name) + " has no end within its field");
  return field;
}
template <std::size_t N>
void setField(char (&field)[N], const std::string& text) {
  const std::size_t n = text.copy(field, N - 1);
  field[n] = '\0';
}

}  // namespace gnx::c
