#include "vdevice/system/init/ActionQueue.h"

#include <algorithm>

namespace zstats::vdevice {

void ActionQueue::enablePropertyTriggers() {
    mPropertiesEnabled = true;
    mEvents.push_back({});
}

void ActionQueue::propertySet(const std::string& name, const std::string& value) {
    if (mPropertiesEnabled) mEvents.push_back({"", name, value});
}

std::optional<RcCommand> ActionQueue::next() {
    while (mCommands.empty()) {
        if (mEvents.empty()) return std::nullopt;
        const Event event = std::move(mEvents.front());
        mEvents.pop_front();
        for (const RcAction& action : mActions) {
            if (!isTriggered(action, event)) continue;
            mCommands.insert(mCommands.end(), action.commands.begin(), action.commands.end());
        }
    }
    RcCommand command = std::move(mCommands.front());
    mCommands.pop_front();
    return command;
}

bool ActionQueue::isTriggered(const RcAction& action, const Event& event) const {
    const auto& triggers = action.properties;
    if (action.event != event.name) return false;
    const bool names = std::any_of(triggers.begin(), triggers.end(), [&](const auto& trigger) {
        return trigger.name == event.property;
    });
    if (!event.property.empty() && !names) return false;
    return std::all_of(triggers.begin(), triggers.end(),
                       [&](const auto& trigger) { return holds(trigger, event); });
}

bool ActionQueue::holds(const RcPropertyTrigger& trigger, const Event& event) const {
    // The value of the event counts, though the property may have changed again since.
    const bool set = !event.property.empty() && trigger.name == event.property;
    const std::string value = set ? event.value : mLookUp(trigger.name);
    return trigger.value == "*" ? !value.empty() : trigger.value == value;
}

}  // namespace zstats::vdevice
