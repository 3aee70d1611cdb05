#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "acquire/IAtomsAcquire.h"

namespace zstats {

/**
 * The service "atomacq". It has no state, so calls on several binder threads need no lock. Every
 * accepted registerFdForPushedAtoms starts a thread, which lasts as long as statsd's command, and
 * keeps one descriptor open for the life of the process.
 */
class AtomsAcquireService : public BnAtomsAcquire {
  public:
    android::binder::Status getInfoForPulledAtoms(const std::vector<int32_t>& atomIds,
                                                  std::vector<std::string>* info) override;
    android::binder::Status registerFdForPushedAtoms(const std::vector<int32_t>& atomIds,
                                                     const android::os::ParcelFileDescriptor& fd,
                                                     int32_t* ret) override;

  private:
    /** Logs the calling uid. True only for root and system; statsd's uid is refused. */
    static bool checkCallingPermission();
};

}  // namespace zstats
