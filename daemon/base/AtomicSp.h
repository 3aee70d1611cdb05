#pragma once

#include <utils/StrongPointer.h>

#include <memory>
#include <utility>

namespace zstats {

/**
 * A strong pointer that threads may load and store at the same time without a lock of the owner's.
 * A loaded copy keeps its object alive however the stored pointer changes meanwhile.
 */
template <typename T>
class AtomicSp {
  public:
    AtomicSp() = default;
    AtomicSp(const AtomicSp&) = delete;
    AtomicSp& operator=(const AtomicSp&) = delete;

    /** The stored pointer, null when there is none. */
    android::sp<T> load() const {
        const auto holder = std::atomic_load(&mHolder);
        return holder ? *holder : nullptr;
    }

    void store(android::sp<T> pointer) {
        std::shared_ptr<const android::sp<T>> holder;
        if (pointer != nullptr) {
            holder = std::make_shared<const android::sp<T>>(std::move(pointer));
        }
        std::atomic_store(&mHolder, std::move(holder));
    }

  private:
    std::shared_ptr<const android::sp<T>> mHolder;
};

}  // namespace zstats
