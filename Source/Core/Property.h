#pragma once

#include "Core/Signal.h"

#include <functional>
#include <utility>

namespace nocta {

/// An object whose properties can be watched, each by itself or all together.
class ObservableObject {
  public:
    /// Calls back before every assignment to any property, while the old value still stands.
    Subscription observeWillChange(std::function<void()> callback) { return willChange.connect(std::move(callback)); }

  private:
    template <class Value>
    friend class Property;

    Signal<> willChange;
};

/// A value that tells of every assignment, also of one that changes nothing. Main thread only; observers are called
/// inside the assignment.
template <class Value>
class Property {
  public:
    /// `didAssign` is the owner's own reaction; it runs after the observers.
    Property(ObservableObject& owner, Value initial, std::function<void()> didAssign = {})
        : owner(owner), value(std::move(initial)), didAssign(std::move(didAssign)) {}

    Property(const Property&) = delete;
    Property& operator=(const Property&) = delete;
    ~Property() = default;

    [[nodiscard]] const Value& get() const { return value; }
    operator const Value&() const { return value; } // NOLINT(google-explicit-constructor): reads as the value it holds

    Property& operator=(Value newValue) {
        owner.willChange.emit();
        value = std::move(newValue);
        // By reference: where an observer assigns again, those after it end with the newest value, not with this one.
        values.emit(value);
        if (didAssign) {
            didAssign();
        }
        return *this;
    }

    /// Calls back with every newly assigned value; `get` then already gives it.
    Subscription observe(std::function<void(const Value&)> callback) { return values.connect(std::move(callback)); }

  private:
    ObservableObject& owner;
    Value value;
    Signal<const Value&> values;
    std::function<void()> didAssign;
};

} // namespace nocta
