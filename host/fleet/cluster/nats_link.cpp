// NATS with JetStream between machines: a key-value bucket, subjects, a stream of results. Built where
// libnats is.

#include "fleet/cluster/cluster_link.h"
#include "gnx/error.h"
#include "link/connection.h"

#ifndef GNX_WITH_NATS

namespace gnx {

std::unique_ptr<ClusterLink> connectCluster(const ClusterOptions&) {
  throw UsageError(
      "this program was built without NATS; install the package libnats-dev and build it again, or leave out "
      "\"nats\"");
}

}  // namespace gnx

#else

#include <nats/nats.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <map>
#include <mutex>
#include <sstream>
#include <utility>
#include <vector>

namespace gnx {

namespace {

constexpr const char* kBucket = "gnx-stations";
constexpr const char* kStreams = "gnx-streams";      ///< what was broadcast in the last minutes
constexpr const char* kSolutions = "gnx-solutions";  ///< results
constexpr const char* kStates = "gnx-states";        ///< the last one of each station
constexpr std::int64_t kSecond_ns = 1'000'000'000, kStreamsKept_s = 600, kStatesKept_s = 600, kTwins_s = 120;
constexpr std::int64_t kStreamsBytes = std::int64_t{64} << 20;
constexpr std::int64_t kTimeout_ms = 2000, kCatchUp_ms = 300;

template <auto Destroy>
struct Destroyer {
  template <class T>
  void operator()(T* object) const {
    Destroy(object);
  }
};
template <class T, auto Destroy>
using Owned = std::unique_ptr<T, Destroyer<Destroy> >;

[[noreturn]] void fail(natsStatus status) {
  const char* text = nats_GetLastError(nullptr);
  throw ConnectionError(std::string("do not do what is asked: ") +
                        (text != nullptr && text[0] != '\0' ? text : natsStatus_GetText(status)));
}
void require(natsStatus status) {
  if (status != NATS_OK) fail(status);
}

class NatsLink : public ClusterLink {
 public:
  explicit NatsLink(const ClusterOptions& options) {
    connect(options);
    jsOptions choices;
    jsOptions_Init(&choices);
    choices.Wait = kTimeout_ms;
    choices.PublishAsync.AckHandler = &NatsLink::answered;
    choices.PublishAsync.AckHandlerClosure = this;
    jsCtx* js = nullptr;
    require(natsConnection_JetStream(&js, m_connection.get(), &choices));
    m_js.reset(js);
    openBucket(options);
    makeStream(kStreams, {"gnx.eph.>", "gnx.ssr.>", "gnx.obs.>"}, js_MemoryStorage, kStreamsKept_s,
               kStreamsBytes, options.replicas);
    makeStream(kSolutions, {"gnx.sol.>"}, js_FileStorage, options.keepHours * 3600LL,
               std::int64_t{options.keepMegabytes} << 20, options.replicas);
    makeStream(kStates, {"gnx.state.>"}, js_FileStorage, kStatesKept_s,
               std::int64_t{options.stateMegabytes} << 20, options.replicas, 1);
  }
  /// Listeners live until no thread of the library can be in one of them.
  ~NatsLink() override {
    m_watcher.reset();
    natsConnection_FlushTimeout(m_connection.get(), kTimeout_ms);
    for (auto& [subject, listener] : m_listeners) listener->subscription.reset();
    m_bucket.reset();
    m_js.reset();
    m_connection.reset();
    nats_CloseAndWait(kTimeout_ms);
  }
  NatsLink(const NatsLink&) = delete;
  NatsLink& operator=(const NatsLink&) = delete;

  bool connected() const override {
    return natsConnection_Status(m_connection.get()) == NATS_CONN_STATUS_CONNECTED;
  }
  int connections() const override { return m_connections; }

  // ---- the bucket ----

  void watch() override {
    m_watcher.reset();
    kvWatcher* watcher = nullptr;
    require(kvStore_WatchAll(&watcher, m_bucket.get(), nullptr));
    m_watcher.reset(watcher);
  }

  std::optional<Change> next() override {
    kvEntry* entry = nullptr;
    if (!m_watcher || kvWatcher_Next(&entry, m_watcher.get(), 1) != NATS_OK) return std::nullopt;
    if (entry == nullptr) return Change{Change::Kind::all, "", "", 0};
    const Owned<kvEntry, kvEntry_Destroy> owned(entry);
    Change change;
    change.kind = kvEntry_Operation(entry) == kvOp_Put ? Change::Kind::value : Change::Kind::gone;
    change.key = kvEntry_Key(entry);
    const auto* value = static_cast<const char*>(kvEntry_Value(entry));
    if (value != nullptr) change.value.assign(value, static_cast<std::size_t>(kvEntry_ValueLen(entry)));
    change.revision = kvEntry_Revision(entry);
    return change;
  }

  std::optional<std::uint64_t> write(const std::string& key, const std::string& value,
                                     std::uint64_t revision) override {
    std::uint64_t made = 0;
    const int length = static_cast<int>(value.size());
    const natsStatus status =
        revision == 0 ? kvStore_Create(&made, m_bucket.get(), key.c_str(), value.data(), length)
                      : kvStore_Update(&made, m_bucket.get(), key.c_str(), value.data(), length, revision);
    if (status == NATS_OK) return made;
    if (status == NATS_ERR) return std::nullopt;
    fail(status);
  }
  std::uint64_t write(const std::string& key, const std::string& value) override {
    std::uint64_t made = 0;
    require(kvStore_Put(&made, m_bucket.get(), key.c_str(), value.data(), static_cast<int>(value.size())));
    return made;
  }
  void erase(const std::string& key) override { require(kvStore_Delete(m_bucket.get(), key.c_str())); }

  // ---- streams ----

  void publish(const std::string& subject, Bytes bytes) override {
    require(natsConnection_Publish(m_connection.get(), subject.c_str(), bytes.data(),
                                   static_cast<int>(bytes.size())));
  }

  void listen(const std::string& subject, std::function<void(Bytes)> take) override {
    auto listener = std::make_unique<Listener>();
    listener->take = std::move(take);
    catchUp(subject, listener->take);
    natsSubscription* subscription = nullptr;
    require(natsConnection_Subscribe(&subscription, m_connection.get(), subject.c_str(), &NatsLink::came,
                                     listener.get()));
    listener->subscription.reset(subscription);
    natsSubscription_SetPendingLimits(subscription, -1, static_cast<int>(kStreamsBytes));
    m_listeners[subject] = std::move(listener);
  }
  void endListening(const std::string& subject) override {
    auto ended = m_listeners.extract(subject);
    if (ended.empty()) return;
    ended.mapped()->subscription.reset();
    m_ended.push_back(std::move(ended.mapped()));
  }

  void publishResult(const std::string& subject, const std::string& text, const std::string& id,
                     Answer answer) override {
    natsMsg* message = nullptr;
    require(natsMsg_Create(&message, subject.c_str(), nullptr, text.data(), static_cast<int>(text.size())));
    jsPubOptions choices;
    jsPubOptions_Init(&choices);
    choices.MsgId = id.c_str();
    choices.MaxWait = kTimeout_ms;
    {
      const std::lock_guard lock(m_mutex);
      m_answers[id] = std::move(answer);
    }
    const natsStatus status = js_PublishMsgAsync(m_js.get(), &message, &choices);
    natsMsg_Destroy(message);
    if (status == NATS_OK) return;
    const std::lock_guard lock(m_mutex);
    m_answers.erase(id);
    fail(status);
  }

  bool keepState(const std::string& station, const std::string& state) override {
    constexpr std::int64_t kHead = 1024;  ///< subject and headers
    const auto size = static_cast<std::int64_t>(state.size());
    if (size + kHead > natsConnection_GetMaxPayload(m_connection.get())) return false;
    require(js_Publish(nullptr, m_js.get(), subjectOf(station).c_str(), state.data(), static_cast<int>(size),
                       nullptr, nullptr));
    return true;
  }

  std::optional<std::string> stateOf(const std::string& station) override {
    natsMsg* message = nullptr;
    const natsStatus status =
        js_GetLastMsg(&message, m_js.get(), kStates, subjectOf(station).c_str(), nullptr, nullptr);
    if (status == NATS_NOT_FOUND) return std::nullopt;
    require(status);
    const Owned<natsMsg, natsMsg_Destroy> owned(message);
    const Bytes bytes = bytesOf(message);
    return std::string(bytes.begin(), bytes.end());
  }

 private:
  static std::string subjectOf(const std::string& station) { return "gnx.state." + station; }

  struct Listener {
    std::function<void(Bytes)> take;
    Owned<natsSubscription, natsSubscription_Destroy> subscription;
  };

  void connect(const ClusterOptions& options) {
    natsOptions* made = nullptr;
    require(natsOptions_Create(&made));
    const Owned<natsOptions, natsOptions_Destroy> choices(made);
    std::vector<std::string> urls;
    std::istringstream list(options.url);
    for (std::string url; std::getline(list, url, ',');) urls.push_back(url);
    std::vector<const char*> servers;
    for (const std::string& url : urls) servers.push_back(url.c_str());
    require(natsOptions_SetServers(made, servers.data(), static_cast<int>(servers.size())));
    require(natsOptions_SetName(made, "gnx fleet"));
    require(natsOptions_SetTimeout(made, kTimeout_ms));
    require(natsOptions_SetMaxReconnect(made, -1));
    require(natsOptions_SetReconnectWait(made, 200));
    require(natsOptions_SetReconnectJitter(made, 100, 100));
    require(
        natsOptions_SetPingInterval(made, 1000));  // a server that is gone is noticed within three seconds
    require(natsOptions_SetMaxPingsOut(made, 2));
    require(natsOptions_SetFailRequestsOnDisconnect(made, true));
    require(natsOptions_SetErrorHandler(
        made, [](natsConnection*, natsSubscription*, natsStatus, void*) {}, nullptr));
    require(natsOptions_SetReconnectedCB(
        made, [](natsConnection*, void* link) { ++static_cast<NatsLink*>(link)->m_connections; }, this));
    if (!options.credentials.empty())
      require(natsOptions_SetUserCredentialsFromFiles(made, options.credentials.c_str(), nullptr));
    const char* user = std::getenv("GNX_NATS_USER");
    const char* password = std::getenv("GNX_NATS_PASSWORD");
    if (user != nullptr && password != nullptr) require(natsOptions_SetUserInfo(made, user, password));
    natsConnection* connection = nullptr;
    const natsStatus status = natsConnection_Connect(&connection, made);
    if (status != NATS_OK)
      throw ConnectionError("cannot be reached at " + options.url + ": " + natsStatus_GetText(status));
    m_connection.reset(connection);
  }

  void openBucket(const ClusterOptions& options) {
    kvStore* bucket = nullptr;
    if (js_KeyValue(&bucket, m_js.get(), kBucket) != NATS_OK) {
      kvConfig choices;
      kvConfig_Init(&choices);
      choices.Bucket = kBucket;
      choices.Description = "who works on which station";
      choices.History = 1;
      choices.Replicas = options.replicas;
      require(js_CreateKeyValue(&bucket, m_js.get(), &choices));
    }
    m_bucket.reset(bucket);
  }

  /// Makes a stream, or gives one that is there these limits. \param each  messages kept of a subject, -1 =
  /// all
  void makeStream(const char* name, std::vector<const char*> subjects, jsStorageType storage,
                  std::int64_t kept_s, std::int64_t bytes, int replicas, std::int64_t each = -1) {
    jsStreamConfig choices;
    jsStreamConfig_Init(&choices);
    choices.Name = name;
    choices.Subjects = subjects.data();
    choices.SubjectsLen = static_cast<int>(subjects.size());
    choices.Storage = storage;
    choices.MaxAge = kept_s * kSecond_ns;
    choices.MaxBytes = bytes;
    choices.MaxMsgsPerSubject = each;
    choices.Duplicates = std::min(kTwins_s, kept_s) * kSecond_ns;
    choices.Replicas = replicas;
    jsErrCode wrong{};
    if (js_AddStream(nullptr, m_js.get(), &choices, nullptr, &wrong) == NATS_OK) return;
    if (wrong != JSStreamNameExistErr) fail(NATS_ERR);
    require(js_UpdateStream(nullptr, m_js.get(), &choices, nullptr, nullptr));
  }

  /// What the servers have kept of a subject.
  void catchUp(const std::string& subject, const std::function<void(Bytes)>& take) const {
    jsSubOptions choices;
    jsSubOptions_Init(&choices);
    choices.Ordered = true;
    choices.Stream = kStreams;
    choices.Config.DeliverPolicy = js_DeliverAll;
    natsSubscription* made = nullptr;
    if (js_SubscribeSync(&made, m_js.get(), subject.c_str(), nullptr, &choices, nullptr) != NATS_OK) return;
    const Owned<natsSubscription, natsSubscription_Destroy> subscription(made);
    for (bool more = true; more;) {
      natsMsg* message = nullptr;
      if (natsSubscription_NextMsg(&message, made, kCatchUp_ms) != NATS_OK) return;
      const Owned<natsMsg, natsMsg_Destroy> owned(message);
      take(bytesOf(message));
      jsMsgMetaData* data = nullptr;
      more = natsMsg_GetMetaData(&data, message) == NATS_OK && data->NumPending > 0;
      jsMsgMetaData_Destroy(data);
    }
  }

  static Bytes bytesOf(const natsMsg* message) {
    return {reinterpret_cast<const std::uint8_t*>(natsMsg_GetData(message)),
            static_cast<std::size_t>(natsMsg_GetDataLength(message))};
  }
  static void came(natsConnection*, natsSubscription*, natsMsg* message, void* listener) {
    static_cast<Listener*>(listener)->take(bytesOf(message));
    natsMsg_Destroy(message);
  }
  static void answered(jsCtx*, natsMsg* message, jsPubAck*, jsPubAckErr* wrong, void* link) {
    auto* self = static_cast<NatsLink*>(link);
    const char* id = nullptr;
    Answer answer;
    if (natsMsgHeader_Get(message, "Nats-Msg-Id", &id) == NATS_OK) {
      const std::lock_guard lock(self->m_mutex);
      if (auto found = self->m_answers.extract(id); !found.empty()) answer = std::move(found.mapped());
    }
    if (answer)
      answer(wrong == nullptr, wrong == nullptr            ? ""
                               : wrong->ErrText != nullptr ? wrong->ErrText
                                                           : natsStatus_GetText(wrong->Err));
    natsMsg_Destroy(message);
  }

  std::atomic<int> m_connections{1};
  std::mutex m_mutex;
  std::map<std::string, Answer> m_answers;  ///< by the id of the result
  Owned<natsConnection, natsConnection_Destroy> m_connection;
  Owned<jsCtx, jsCtx_Destroy> m_js;
  Owned<kvStore, kvStore_Destroy> m_bucket;
  Owned<kvWatcher, kvWatcher_Destroy> m_watcher;
  std::map<std::string, std::unique_ptr<Listener> > m_listeners;
  std::vector<std::unique_ptr<Listener> > m_ended;
};

}  // namespace

std::unique_ptr<ClusterLink> connectCluster(const ClusterOptions& options) {
  return std::make_unique<NatsLink>(options);
}

}  // namespace gnx

#endif
