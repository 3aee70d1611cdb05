#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "vdevice/system/init/RcFile.h"

namespace zstats::vdevice {

/**
 * Which commands of the rc files run, and in which order. Events and property changes queue up;
 * each starts the actions that it triggers, in the order of the files. Used on init's one thread.
 */
class ActionQueue {
  public:
    /** A property's value now, empty if it does not exist. */
    using PropertyLookup = std::function<std::string(const std::string& name)>;

    explicit ActionQueue(PropertyLookup lookUp) : mLookUp(std::move(lookUp)) {}

    void setActions(std::vector<RcAction> actions) { mActions = std::move(actions); }

    /** Starts actions of this event whose properties hold when its turn comes. */
    void trigger(const std::string& event) { mEvents.push_back({event, "", ""}); }

    /**
     * From now on a property that is set, to a new value or to the one it has, starts the actions
     * without an event that wait for it. Those that hold already start once.
     */
    void enablePropertyTriggers();
    /** To be told of every property that is set. */
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
