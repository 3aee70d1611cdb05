#pragma once

#include <string>
#include <vector>

// A phone's init logs its stack when it aborts; here only the reason is logged.

namespace unwindstack {

struct AndroidUnwinderData {
    std::vector<int> frames;
    std::string GetErrorString() const { return "there is no unwinder here"; }
};

struct AndroidLocalUnwinder {
    bool Unwind(AndroidUnwinderData& /*data*/) { return false; }
    std::string FormatFrame(int /*frame*/) { return ""; }
};

}  // namespace unwindstack
