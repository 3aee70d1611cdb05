#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "vdevice/system/init/RcFile.h"

namespace zstats::vdevice {

/**
 * Decides which commands of the rc files run. Events and property changes are queued; each in turn
 * queues the commands of the actions that it triggers, in the order of the files. Not thread-safe.
 */
class ActionQueue {
  public:
    /** A property's value now, empty if it does not exist. */
    using PropertyLookup = std::function<std::string(const std::string& name)>;

    explicit ActionQueue(PropertyLookup lookUp) : mLookUp(std::move(lookUp)) {}

    void setActions(std::vector<RcAction> actions) { mActions = std::move(actions); }

    /** Queues an event. The properties of its actions are looked at when its turn comes. */
    void trigger(const std::string& event) { mEvents.push_back({event, "", ""}); }

    /**
     * From now on propertySet triggers actions that have property triggers alone. Those whose
     * properties hold already are triggered once.
     */
    void enablePropertyTriggers();
    /** To be called whenever a property is set, also to the value that it has. */
    void propertySet(const std::string& name, const std::string& value);

    /** The next command to run, nothing if none is due. */
    std::optional<RcCommand> next();

  private:
    struct Event {
        std::string name;      // empty for a property
        std::string property;  // empty, without a name: all properties
        std::string value;
    };

    bool isTriggered(const RcAction& action, const Event& event) const;
    bool holds(const RcPropertyTrigger& trigger, const Event& event) const;

    const PropertyLookup mLookUp;
    std::vector<RcAction> mActions;
    bool mPropertiesEnabled = false;
    std::deque<Event> mEvents;
    std::deque<RcCommand> mCommands;
};

}  // namespace zstats::vdevice
