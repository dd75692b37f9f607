// Messages by thread, numbers of handles, and the status of each kind of failure.

#include "c/guard.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <new>

#include "gnx/error.h"

namespace gnx::c {

namespace {

/// Of a fixed size: to tell that there is no memory must take none.
thread_local char t_message[2048] = "";

struct StatusName {
  int status;
  const char* name;
};
constexpr StatusName kNames[] = {{GNX_OK, "GNX_OK"},
                                 {GNX_END, "GNX_END"},
                                 {GNX_NO_EPOCH, "GNX_NO_EPOCH"},
                                 {GNX_BAD_ARGUMENT, "GNX_BAD_ARGUMENT"},
                                 {GNX_BAD_HANDLE, "GNX_BAD_HANDLE"},
                                 {GNX_BAD_ORDER, "GNX_BAD_ORDER"},
                                 {GNX_BAD_INPUT, "GNX_BAD_INPUT"},
                                 {GNX_ENGINE_ENDED, "GNX_ENGINE_ENDED"},
                                 {GNX_NO_MEMORY, "GNX_NO_MEMORY"},
                                 {GNX_FAILED, "GNX_FAILED"}};

gnx_status told(gnx_status status, const char* message) noexcept {
  remember(message);
  return status;
}

}  // namespace

void remember(const char* message) noexcept { std::snprintf(t_message, sizeof t_message, "%s", message); }

gnx_status statusOfException() noexcept {
  try {
    throw;
  } catch (const Failure& failure) {
    return told(failure.status, failure.message.c_str());
  } catch (const UsageError& error) {
    return told(GNX_BAD_ORDER, error.what());
  } catch (const InputError& error) {
    return told(GNX_BAD_INPUT, error.what());
  } catch (const EngineError& error) {
    return told(GNX_ENGINE_ENDED, error.what());
  } catch (const std::bad_alloc&) {
    return told(GNX_NO_MEMORY, "there is no memory left");
  } catch (const std::exception& error) {
    return told(GNX_FAILED, error.what());
  } catch (...) {
    return told(GNX_FAILED, "failed for a reason that is not known");
  }
}

std::uintptr_t takeNumber() noexcept {
  static std::atomic<std::uintptr_t> next{1};
  return next.fetch_add(2);
}

void copyText(const std::string& from, char* text, std::size_t capacity, std::size_t* needed) {
  if (capacity > 0) {
    const std::size_t n = from.copy(&required(text, "text"), capacity - 1);
    text[n] = '\0';
  }
  if (needed != nullptr) *needed = from.size() + 1;
}

}  // namespace gnx::c

extern "C" {

const char* gnx_status_name(int status) {
  const auto* found = std::find_if(std::begin(gnx::c::kNames), std::end(gnx::c::kNames),
                                   [=](const auto& row) { return row.status == status; });
  return found == std::end(gnx::c::kNames) ? "" : found->name;
}

const char* gnx_last_error(void) { return gnx::c::t_message; }
const char* gnx_version(void) { return GNX_VERSION; }
}
