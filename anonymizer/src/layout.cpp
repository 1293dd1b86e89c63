#include "layout.h"

#include <algorithm>
#include <utility>

#include "pxl/render.h"

namespace ui2 {

namespace {

int32_t clampedValue(int64_t value, const SliderValue& slider) {
    const int64_t minimum = slider.minimum;
    return static_cast<int32_t>(std::clamp(value, minimum, minimum + slider.range));
}

int32_t usableRange(int32_t minimum, int32_t range) {
    constexpr int64_t highest = INT32_MAX;
    return static_cast<int32_t>(std::clamp<int64_t>(range, 0, highest - std::max(minimum, 0)));
}

} // namespace

bool Geometry::contains(int32_t px, int32_t py) const {
    return px >= x && py >= y && px - int64_t{x} < width && py - int64_t{y} < height;
}

bool operator==(const Geometry& left, const Geometry& right) {
    return left.width == right.width && left.height == right.height && left.x == right.x && left.y == right.y;
}

bool operator!=(const Geometry& left, const Geometry& right) {
    return !(left == right);
}

bool operator==(const Tip& left, const Tip& right) {
    return left.text == right.text && left.geometry == right.geometry;
}

bool operator!=(const Tip& left, const Tip& right) {
    return !(left == right);
}

Layout::~Layout() = default;

int Layout::add(Element element) {
    elements_.push_back(std::move(element));
    dirty_ = true;
    return count() - 1;
}

int Layout::addSlider(SliderValue value, const Geometry& geometry, OnValue onValue, const wxString& tip) {
    Element element;
    element.kind = Kind::Slider;
    element.geometry = geometry;
    element.onValue = std::move(onValue);
    element.tip = tip;
    const int index = add(std::move(element));
    setRange(index, value.minimum, value.range);
    setValue(index, value.value);
    return index;
}

int Layout::addButton(Picture picture, const Geometry& geometry, OnClick onClick, const wxString& tip) {
    Element element;
    element.kind = Kind::Button;
    element.images = {{std::move(picture), nullptr, false}};
    element.geometry = geometry;
    element.onClick = std::move(onClick);
    element.tip = tip;
    return add(std::move(element));
}

int Layout::addToggle(Picture off, Picture on, const Geometry& geometry, OnToggle onToggle,
                      const wxString& tip) {
    Element element;
    element.kind = Kind::Toggle;
    element.images = {{std::move(off), nullptr, false}, {std::move(on), nullptr, false}};
    element.geometry = geometry;
    element.onToggle = std::move(onToggle);
    element.tip = tip;
    return add(std::move(element));
}

const Layout::Element* Layout::find(int element) const {
    return element >= 0 && element < count() ? &elements_[static_cast<std::size_t>(element)] : nullptr;
}

Layout::Element* Layout::find(int element) {
    return element >= 0 && element < count() ? &elements_[static_cast<std::size_t>(element)] : nullptr;
}

const Layout::Element* Layout::find(int element, Kind kind) const {
    const Element* found = find(element);
    return found && found->kind == kind ? found : nullptr;
}

Layout::Element* Layout::find(int element, Kind kind) {
    Element* found = find(element);
    return found && found->kind == kind ? found : nullptr;
}

void Layout::setGeometry(int element, const Geometry& geometry) {
    Element* found = find(element);
    if (!found || found->geometry == geometry)
        return;
    found->geometry = geometry;
    dirty_ = true;
}

SliderValue Layout::slider(int element) const {
    const Element* found = find(element, Kind::Slider);
    return found ? found->value : SliderValue{};
}

void Layout::setValue(int element, int32_t value) {
    Element* found = find(element, Kind::Slider);
    if (!found)
        return;
    const int32_t clamped = clampedValue(value, found->value);
    if (found->value.value == clamped)
        return;
    found->value.value = clamped;
    dirty_ = true;
}

void Layout::setRange(int element, int32_t minimum, int32_t range) {
    Element* found = find(element, Kind::Slider);
    if (!found)
        return;
    found->value.minimum = minimum;
    found->value.range = usableRange(minimum, range);
    found->value.value = clampedValue(found->value.value, found->value);
    dirty_ = true;
}

bool Layout::isDragged(int element) const {
    return element >= 0 && element == dragged_;
}

bool Layout::toggled(int element) const {
    const Element* found = find(element, Kind::Toggle);
    return found && found->value.value != 0;
}

void Layout::setToggled(int element, bool state) {
    Element* found = find(element, Kind::Toggle);
    if (!found || found->value.value == int32_t{state})
        return;
    found->value.value = int32_t{state};
    dirty_ = true;
}

bool Layout::isEnabled(int element) const {
    const Element* found = find(element);
    return found && found->state.enabled;
}

void Layout::setEnabled(int element, bool enabled) {
    Element* found = find(element);
    if (!found || found->state.enabled == enabled)
        return;
    found->state.enabled = enabled;
    found->state.pressed = false;
    found->state.dragging = false;
    if (dragged_ == element)
        dragged_ = -1;
    dirty_ = true;
}

void Layout::setTip(int element, const wxString& text) {
    if (Element* found = find(element))
        found->tip = text;
}

void Layout::setVisible(bool visible) {
    if (visible_ == visible)
        return;
    visible_ = visible;
    dirty_ = true;
    for (Element& element : elements_) {
        element.state.hovered = false;
        element.state.pressed = false;
        element.state.dragging = false;
    }
    dragged_ = -1;
}

bool Layout::isHovered(int element) const {
    const Element* found = find(element);
    return found && found->state.hovered;
}

bool Layout::isPressed(int element) const {
    const Element* found = find(element);
    return found && found->state.pressed;
}

void Layout::clearHover() {
    for (Element& element : elements_) {
        element.state.hovered = false;
        if (element.kind != Kind::Slider)
            element.state.pressed = false;
    }
}

pxl::Vec2 Layout::knobCentre(int element) const {
    const Element* found = find(element, Kind::Slider);
    if (!found)
        return {};
    const SliderValue& slider = found->value;
    const Geometry& place = found->geometry;
    // In double: a float can't tell the frames of a long video apart.
    const double part =
        slider.range > 0 ? (double{1} * slider.value - slider.minimum) / slider.range : double{0};
    const int32_t trackTop = place.y + (place.height - kTrackHeight) / 2;
    return {static_cast<float>(place.x + part * place.width),
            static_cast<float>(trackTop + kTrackHeight / 2)};
}

int Layout::elementAt(int32_t x, int32_t y) const {
    for (int i = 0; i < count(); ++i)
        if (find(i)->geometry.contains(x, y))
            return i;
    return -1;
}

bool Layout::knobContains(int element, int32_t x, int32_t y) const {
    const pxl::Vec2 centre = knobCentre(element);
    const float dx = static_cast<float>(x) - centre.x;
    const float dy = static_cast<float>(y) - centre.y;
    return dx * dx + dy * dy < kKnobRadius * kKnobRadius;
}

bool Layout::pressIsHeld() const {
    return std::any_of(elements_.begin(), elements_.end(),
                       [](const Element& element) { return element.state.pressed; });
}

MouseResult Layout::mouse(const MouseInput& input) {
    using Action = MouseInput::Action;
    MouseResult result;
    if (!visible_ || input.action == Action::Wheel)
        return result;
    if (input.action == Action::Leave) {
        // A drag goes on outside the window until the button is released.
        clearHover();
        return result;
    }
    // The release of an earlier press may have gone to another window.
    if (input.action == Action::LeftDown || (input.action == Action::Motion && !input.leftIsDown))
        dropPress(result);

    const int over = elementAt(input.x, input.y);
    result.consumed = over >= 0 || pressIsHeld();
    hover(dragged_ >= 0 ? dragged_ : over);
    switch (input.action) {
    case Action::Motion:
        if (dragged_ >= 0)
            followMouse(input.x, result);
        break;
    case Action::LeftDown:
        press(over, input, result);
        break;
    case Action::LeftUp:
        release(over, result);
        hover(over);
        break;
    case Action::Leave:
    case Action::Wheel:
        // Returned above.
        break;
    }
    return result;
}

void Layout::hover(int element) {
    for (int i = 0; i < count(); ++i)
        find(i)->state.hovered = i == element;
}

void Layout::press(int element, const MouseInput& input, MouseResult& result) {
    Element* found = find(element);
    if (!found || !found->state.enabled)
        return;
    found->state.pressed = true;
    if (found->kind != Kind::Slider)
        return;
    result.changed = true;
    found->state.dragging = true;
    dragged_ = element;
    if (!knobContains(element, input.x, input.y))
        followMouse(input.x, result);
}

void Layout::release(int element, MouseResult& result) {
    Element* found = find(element);
    if (found && found->state.pressed) {
        if (found->kind == Kind::Toggle) {
            const bool state = found->value.value == 0;
            found->value.value = int32_t{state};
            result.changed = true;
            if (found->onToggle)
                result.calls.emplace_back([call = found->onToggle, state] { call(state); });
        } else if (found->kind == Kind::Button && found->onClick) {
            result.calls.emplace_back([call = found->onClick, element] { call(element); });
        }
    }
    dropPress(result);
}

void Layout::dropPress(MouseResult& result) {
    for (Element& element : elements_) {
        if (element.state.pressed && element.kind == Kind::Slider)
            result.changed = true;
        element.state.pressed = false;
        element.state.dragging = false;
    }
    dragged_ = -1;
}

void Layout::followMouse(int32_t x, MouseResult& result) {
    Element* found = find(dragged_);
    SliderValue& slider = found->value;
    const int64_t width = found->geometry.width;
    int64_t value = slider.minimum;
    if (width > 0)
        value += std::clamp<int64_t>(int64_t{x} - found->geometry.x, 0, width) * slider.range / width;
    const auto newValue = static_cast<int32_t>(value);
    if (newValue == slider.value)
        return;
    slider.value = newValue;
    result.changed = true;
    if (found->onValue)
        result.calls.emplace_back([call = found->onValue, newValue] { call(newValue); });
}

std::optional<Tip> Layout::tip() const {
    if (!visible_ || pressIsHeld())
        return std::nullopt;
    for (const Element& element : elements_)
        if (element.state.hovered && !element.tip.empty())
            return Tip{element.tip, element.geometry};
    return std::nullopt;
}

} // namespace ui2
