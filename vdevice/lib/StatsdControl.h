#pragma once

#include <android-base/unique_fd.h>

#include <optional>

#include "proto/statsd_control.pb.h"

namespace zstats::vdevice {

/**
 * The tools' connection to the virtual device's statsd: a local socket, which needs none of its
 * binder threads. Any thread.
 */

/** statsd's listening socket; not ok, with errno set, when it cannot be created. */
android::base::unique_fd listenForControl();

/** True when a statsd listens. */
bool statsdListens();

/** Sends a request and waits for the reply; no value without a statsd. */
std::optional<control::Reply> askStatsd(const control::Request& request);

/** Sends a message, preceded by its length; false when the other end is closed. */
bool sendControl(int connection, const google::protobuf::MessageLite& message);

/** Waits for a message; false when the other end is closed before it is complete. */
bool receiveControl(int connection, google::protobuf::MessageLite* message);

}  // namespace zstats::vdevice
