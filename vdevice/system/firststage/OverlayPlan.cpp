#include "vdevice/system/firststage/OverlayPlan.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>

namespace zstats::vdevice {
namespace {

namespace fs = std::filesystem;
using Kind = OverlayStep::Kind;

// A class has exactly the profile's devices, without those of the emulator.
constexpr char kWholeFolders[] = "/sys/class";

std::set<std::string> namesIn(const std::string& folder) {
    std::set<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

bool isProcess(const std::string& name) {
    return name.find_first_not_of("0123456789") == std::string::npos;
}

class Planner {
  public:
    Planner(const std::string& overlay, const std::string& kernel, const std::string& seenKernel,
            int maxPid)
          : mOverlay(overlay), mKernel(kernel), mSeenKernel(seenKernel), mMaxPid(maxPid) {}

    std::vector<OverlayStep> plan() {
        for (const std::string& name : namesIn(mOverlay)) {
            const std::string path = "/" + name;
            if (path == "/proc" || path == "/sys") {
                kernelFolder(path, false);
            } else {
                writable(path);
            }
        }
        return std::move(mSteps);
    }

  private:
    void add(Kind kind, const std::string& path, const std::string& source = "") {
        mSteps.push_back({kind, path, source});
    }

    bool isLink(const std::string& path) const { return fs::is_symlink(mOverlay + path); }

    /** True when the kernel has an entry of the same kind, which can be mounted over. */
    bool kernelHas(const std::string& path) const {
        if (isLink(path)) return false;
        std::error_code ignored;
        const fs::file_status status = fs::status(mKernel + path, ignored);
        return fs::exists(status) && fs::is_directory(status) == fs::is_directory(mOverlay + path);
    }

    void writable(const std::string& path) {
        if (!fs::is_directory(mOverlay + path) || isLink(path)) return newEntry(path);
        add(Kind::kFolder, path);
        for (const std::string& name : namesIn(mOverlay + path)) writable(path + "/" + name);
    }

    /** Adds an entry to a writable folder. */
    void newEntry(const std::string& path) {
        if (isLink(path)) {
            add(Kind::kLink, path, fs::read_symlink(mOverlay + path).string());
            return;
        }
        add(fs::is_directory(mOverlay + path) ? Kind::kFolder : Kind::kFile, path);
        add(Kind::kBind, path, mOverlay + path);
    }

    /** A folder that the kernel also has. `made`: its parent was replaced, so create it first. */
    void kernelFolder(const std::string& path, bool made) {
        const std::set<std::string> names = namesIn(mOverlay + path);
        const bool complete = std::all_of(names.begin(), names.end(), [&](const std::string& name) {
            return kernelHas(path + "/" + name);
        });
        const bool replaced = made || !complete;
        if (replaced) {
            add(made ? Kind::kFolder : Kind::kTmpfs, path);
            linkOthers(path, names);
        }
        for (const std::string& name : names) entry(path, path + "/" + name, replaced);
    }

    void entry(const std::string& parent, const std::string& path, bool parentReplaced) {
        const bool isFolder = fs::is_directory(mOverlay + path) && !isLink(path);
        if (isFolder && kernelHas(path) && parent != kWholeFolders) {
            kernelFolder(path, parentReplaced);
        } else if (parentReplaced) {
            newEntry(path);
        } else {
            add(Kind::kBind, path, mOverlay + path);
        }
    }

    void linkOthers(const std::string& path, const std::set<std::string>& except) {
        for (const std::string& name : namesIn(mKernel + path)) {
            if (except.count(name) != 0 || (path == "/proc" && isProcess(name))) continue;
            add(Kind::kLink, path + "/" + name, mSeenKernel + path + "/" + name);
        }
        if (path != "/proc") return;
        // Processes come and go, so every possible id gets a link.
        for (int pid = 1; pid <= mMaxPid; ++pid) {
            const std::string name = path + "/" + std::to_string(pid);
            add(Kind::kLink, name, mSeenKernel + name);
        }
    }

    const std::string mOverlay;
    const std::string mKernel;
    const std::string mSeenKernel;
    const int mMaxPid;
    std::vector<OverlayStep> mSteps;
};

}  // namespace

std::vector<OverlayStep> planOverlay(const std::string& overlay, const std::string& kernel,
                                     const std::string& seenKernel, int maxPid) {
    return Planner(overlay, kernel, seenKernel, maxPid).plan();
}

}  // namespace zstats::vdevice
