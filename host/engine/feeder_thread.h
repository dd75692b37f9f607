#pragma once
/// \file feeder_thread.h
/// A thread that delivers ephemerides and corrections, kept in step with the epochs by data time, so
/// that a replay is the same bit for bit whatever the machine does.

#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

#include "gnx/records.h"

namespace gnx {

class FeederThread {
 public:
  /// `deliver` hands over everything that the host has by a given time; called on the thread alone.
  explicit FeederThread(std::function<void(const GpsTime&)> deliver);
  ~FeederThread();
  FeederThread(const FeederThread&) = delete;
  FeederThread& operator=(const FeederThread&) = delete;

  /// Returns when everything up to `time` is delivered; rethrows what the delivery threw.
  void deliverUntil(const GpsTime& time);

 private:
  void run();

  std::function<void(const GpsTime&)> deliver_;
  std::mutex mutex_;
  std::condition_variable changed_;
  GpsTime wanted_;
  bool pending_ = false, stop_ = false;
  std::exception_ptr error_;
  std::thread thread_;
};

}  // namespace gnx
