#pragma once

#include <android-base/unique_fd.h>

#include "proto/statsd_control.pb.h"
#include "vdevice/system/statsd/PullerManager.h"
#include "vdevice/system/statsd/PushedAtoms.h"

namespace zstats::vdevice {

/**
 * Answers the virtual device's tools, each connection on a thread that ends with it: tools see
 * statsd also while all of its binder threads wait.
 */
class ControlServer {
  public:
    ControlServer(PullerManager* pullers, PushedAtoms* pushedAtoms)
          : mPullers(pullers), mPushed(pushedAtoms) {}

    /** Takes connections from now on, as long as the process lives; false if it cannot. */
    bool start();

  private:
    void serve(int listener);
    void answer(int connection);
    control::Reply replyTo(const control::Request& request);

    PullerManager* const mPullers;
    PushedAtoms* const mPushed;
};

}  // namespace zstats::vdevice
