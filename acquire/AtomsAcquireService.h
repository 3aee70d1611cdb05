#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "acquire/IAtomsAcquire.h"

namespace zstats {

/**
 * The service "atomacq". Created once and published at start-up; holds no state, so calls on any
 * number of binder threads need no lock. Every accepted registerFdForPushedAtoms leaves a thread
 * behind for as long as statsd's command runs, and one descriptor for the life of the process.
 */
class AtomsAcquireService : public BnAtomsAcquire {
  public:
    android::binder::Status getInfoForPulledAtoms(const std::vector<int32_t>& atomIds,
                                                  std::vector<std::string>* info) override;
    android::binder::Status registerFdForPushedAtoms(const std::vector<int32_t>& atomIds,
                                                     const android::os::ParcelFileDescriptor& fd,
                                                     int32_t* ret) override;

  private:
    /** Logs the calling uid. True for root and system alone; statsd's own uid is refused. */
    static bool checkCallingPermission();
};

}  // namespace zstats
