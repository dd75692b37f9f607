// Delivers products from a thread that waits for the epochs and makes them wait.

#include "engine/feeder_thread.h"

namespace gnx {

FeederThread::FeederThread(std::function<void(const GpsTime&)> deliver)
    : deliver_(std::move(deliver)), thread_([this] { run(); }) {}

FeederThread::~FeederThread() {
  {
    const std::lock_guard lock(mutex_);
    stop_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void FeederThread::deliverUntil(const GpsTime& time) {
  std::unique_lock lock(mutex_);
  wanted_ = time;
  pending_ = true;
  changed_.notify_all();
  changed_.wait(lock, [this] { return !pending_; });
  if (error_) std::rethrow_exception(std::exchange(error_, nullptr));
}

void FeederThread::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return pending_ || stop_; });
    if (stop_) return;
    const GpsTime time = wanted_;
    lock.unlock();
    std::exception_ptr error;
    try {
      deliver_(time);
    } catch (...) {
      error = std::current_exception();
    }
    lock.lock();
    error_ = error;
    pending_ = false;
    changed_.notify_all();
  }
}

}  // namespace gnx
