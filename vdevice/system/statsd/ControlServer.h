#pragma once

#include <android-base/unique_fd.h>

#include "proto/statsd_control.pb.h"
#include "vdevice/system/statsd/PullerManager.h"
#include "vdevice/system/statsd/PushedAtoms.h"

namespace zstats::vdevice {

/**
 * Answers the virtual device's tools on a socket, with a thread for each connection. The tools get
 * answers while all of statsd's binder threads wait.
 */
class ControlServer {
  public:
    ControlServer(PullerManager* pullers, PushedAtoms* pushedAtoms)
          : mPullers(pullers), mPushed(pushedAtoms) {}

    /** Accepts connections for the life of the process; false if it cannot listen. */
    bool start();

  private:
    void serve(int listener);
    void answer(int connection);
    control::Reply replyTo(const control::Request& request);

    PullerManager* const mPullers;
    PushedAtoms* const mPushed;
};

}  // namespace zstats::vdevice
