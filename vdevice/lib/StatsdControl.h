#pragma once

#include <android-base/unique_fd.h>

#include <optional>

#include "proto/statsd_control.pb.h"

namespace zstats::vdevice {

/**
 * The tools' way to the virtual device's statsd, beside its binder threads: a local socket. Any
 * thread.
 */

/** statsd's end, which connections come to; not ok with errno set when it cannot be made. */
android::base::unique_fd listenForControl();

/** True when a statsd listens. */
bool statsdListens();

/** Asks statsd and waits for its reply; nothing if none comes, because there is no statsd for one. */
std::optional<control::Reply> askStatsd(const control::Request& request);

/** Sends a message behind its length; false when the other end is closed. */
bool sendControl(int connection, const google::protobuf::MessageLite& message);

/** Waits for a message; false when the other end is closed before it is whole. */
bool receiveControl(int connection, google::protobuf::MessageLite* message);

}  // namespace zstats::vdevice
