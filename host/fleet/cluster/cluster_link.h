#pragma once
/// \file cluster_link.h
/// What machines that work together need of the servers between them: a bucket of keys, subjects, a stream of
/// results, the last state of each station.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "fleet/fleet_options.h"

namespace gnx {

class ClusterLink {
 public:
  /// A key has a value, or none any more; all that are there at first, then what changes.
  struct Change {
    enum class Kind { value, gone, all } kind = Kind::value;  ///< all: what was there at first has been told
    std::string key, value;
    std::uint64_t revision = 0;
  };
  using Bytes = std::span<const std::uint8_t>;
  /// How a result was taken; from a thread of the link.
  using Answer = std::function<void(bool taken, const std::string& why)>;

  virtual ~ClusterLink() = default;
  virtual bool connected() const = 0;
  /// How often it was connected; what was watched may have been missed in between.
  virtual int connections() const = 0;

  // All throw ConnectionError when the servers do not answer.

  /// Begins to tell the bucket's content anew.
  virtual void watch() = 0;
  /// The next change that has come, without waiting.
  virtual std::optional<Change> next() = 0;
  /// Writes a key if it has this revision, 0 = if there is none. \return the new one, nothing when it has
  /// another
  virtual std::optional<std::uint64_t> write(const std::string& key, const std::string& value,
                                             std::uint64_t revision) = 0;
  virtual std::uint64_t write(const std::string& key, const std::string& value) = 0;
  virtual void erase(const std::string& key) = 0;

  /// To everybody who listens now.
  virtual void publish(const std::string& subject, Bytes bytes) = 0;
  /// What is published from now on, behind what the servers keep of the last minutes. From a thread of the
  /// link.
  virtual void listen(const std::string& subject, std::function<void(Bytes)> take) = 0;
  virtual void endListening(const std::string& subject) = 0;
  /// To the stream of results, once for each `id`.
  virtual void publishResult(const std::string& subject, const std::string& text, const std::string& id,
                             Answer answer) = 0;
  /// Replaces what the servers keep of a station, for some minutes. False when it is more than they take.
  virtual bool keepState(const std::string& station, const std::string& state) = 0;
  virtual std::optional<std::string> stateOf(const std::string& station) = 0;
};

/// Connects and makes bucket and streams where they are missing.
/// \throws ConnectionError when that is not possible now, UsageError when it never will be
std::unique_ptr<ClusterLink> connectCluster(const ClusterOptions& options);

}  // namespace gnx
