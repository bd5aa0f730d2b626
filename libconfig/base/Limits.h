// The bounds that keep a peer from growing, stalling or exhausting a process. A peer is anything on
// the other end of a socket, a queue or a file. Sizes are bytes, times are milliseconds.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qel::config::limits {

// Objects inside objects that a stream may describe before it is refused.
constexpr unsigned kNesting = 16;

// Serialized bytes that may follow one stream record, and those of a text that a server takes: all
// who listen get it, and whoever sets meanwhile waits for that.
constexpr std::size_t kStreamPayload = std::size_t{1024} * 1024;
constexpr std::size_t kArrivingText = std::size_t{64} * 1024;

// Registry entries that lookups of unknown class identifiers may leave behind.
constexpr std::size_t kUnknownClasses = 1024;

// TCP peers that one server serves at a time, as far as there are descriptors: some of these are
// left for what else needs one. Some places are kept for the device's own user. A peer that has
// asked nothing for a while may have to give its place away.
constexpr std::size_t kTcpPeers = 512;
constexpr std::size_t kDescriptorReserve = 64;
constexpr std::size_t kKeptTcpPeers = 16;
constexpr int kIdlePeerMs = 10000;

// Configurations that one datagram server reaches at a time, and peers of each that it remembers.
constexpr std::size_t kUdpConfigurations = 64;
constexpr std::size_t kUdpUsers = 1024;
// How long a configuration that was used is kept from others who want its place.
constexpr int kUdpInUseMs = 60000;

// By how much a datagram server's answers to an address elsewhere may exceed the requests from
// there, at once and by the second, and addresses for which that is known.
constexpr std::int64_t kUdpSurplus = std::int64_t{64} * 1024;
constexpr std::int64_t kUdpSurplusRate = std::int64_t{16} * 1024;
constexpr std::size_t kUdpAccounts = 256;

// The largest datagram: more is not received by either side.
constexpr std::size_t kDatagram = 8192;

// Closed stores whose values, without the texts, are kept before those of one configuration are
// taken up by a store of another.
constexpr std::size_t kPooledStores = 64;

// What the texts of all stores may take before a server refuses a peer's, unless it is told
// otherwise, and how much of that is for the default configuration alone, at most a quarter.
constexpr std::size_t kTexts = std::size_t{64} * 1024 * 1024;
constexpr std::size_t kOwnTexts = std::size_t{4} * 1024 * 1024;

// Bytes that may wait for one peer; a single record of any size fits into an empty outbox.
constexpr std::size_t kOutbox = std::size_t{256} * 1024;

// How long a peer may take to complete a record that it has begun.
constexpr int kHalfRecordMs = 10000;

// Keys that change events may put into a client's cache, and bytes of texts that it keeps.
constexpr std::size_t kCacheKeys = 65536;
constexpr std::size_t kCacheBytes = std::size_t{8} * 1024 * 1024;

// Parameters outside the catalogue of which a cache asks whether they are volatile. Each question
// may leave a placeholder descriptor behind.
constexpr std::size_t kCacheStrangers = 4096;

// Stack of a thread that serves one peer. Listeners of this process are called on it, too.
constexpr std::size_t kPeerThreadStack = std::size_t{1024} * 1024;

// Requests of one client that were given up and whose late answers are still recognised.
constexpr std::size_t kAbandonedRequests = 1024;

// How long a network client waits for an answer, and for that to the setting of a number over UDP.
constexpr int kAnswerMs = 12000;
constexpr int kUdpSetMs = 6000;

// One message of a queue, and how long an exchange over queues may take.
constexpr std::size_t kQueueRecord = std::size_t{64} * 1024;
constexpr int kQueueExchangeMs = 60000;

// Clients of one server of message queues, and configurations that it reaches.
constexpr std::size_t kQueueClients = 512;
constexpr std::size_t kQueueConfigurations = 64;

// The text of the flash update.
constexpr std::size_t kFlashInfo = std::size_t{1024} * 1024;

// Names of processes that are remembered.
constexpr std::size_t kProcessNames = 1024;

// A preset's contents as a file, and all settings of a configuration.
constexpr std::size_t kPresetFile = std::size_t{64} * 1024 * 1024;

// Events that a client keeps while one of its listeners waits for an answer, and bytes of the texts
// in them.
constexpr std::size_t kKeptEvents = 65536;
constexpr std::size_t kKeptBytes = std::size_t{8} * 1024 * 1024;

}  // namespace qel::config::limits
