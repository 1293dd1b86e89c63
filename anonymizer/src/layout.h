#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <wx/string.h>

#include "pxl/geometry.h"
#include "pxl/image.h"

namespace pxl {
class Batch;
class Texture;
} // namespace pxl

/// The small widget list drawn inside the canvas. All lengths and points are logical pixels of the window,
/// origin top left; the canvas converts for screens with a scale factor.
namespace ui2 {

enum class Kind : uint32_t { Slider = 0, Button = 1, Toggle = 2 };

/// Place of an element in the window.
struct Geometry {
    int32_t width = 0;
    int32_t height = 0;
    int32_t x = 0;
    int32_t y = 0;

    /// Half-open: x <= px < x + width, y <= py < y + height.
    bool contains(int32_t px, int32_t py) const;
};
bool operator==(const Geometry& left, const Geometry& right);
bool operator!=(const Geometry& left, const Geometry& right);

/// What a slider shows: minimum ≤ value ≤ minimum + range. Range 0 holds the knob at the left end.
struct SliderValue {
    int32_t value = 0;
    int32_t minimum = 0;
    int32_t range = 0;
};

/// What the mouse did, in the window's logical pixels.
struct MouseInput {
    /// The wheel is nothing to the elements.
    enum class Action { Motion, LeftDown, LeftUp, Leave, Wheel };
    Action action = Action::Motion;
    int32_t x = 0;
    int32_t y = 0;
    /// The left button is held, after this event.
    bool leftIsDown = false;
};

/// What a list made of a mouse event.
struct MouseResult {
    /// The event belongs to an element: it happened over one or in the course of a press that began on one.
    bool consumed = false;
    /// Something looks different now.
    bool changed = false;
    /// Change callbacks with their arguments, in order. The caller runs them after it has released the layout
    /// lock, never under it: they play, stop and seek, which wait for the playback thread.
    std::vector<std::function<void()>> calls;
};

/// A tool tip that the mouse asks for.
struct Tip {
    /// Translated.
    wxString text;
    /// The element it belongs to; the tip lives while the mouse is inside.
    Geometry geometry;
};
bool operator==(const Tip& left, const Tip& right);
bool operator!=(const Tip& left, const Tip& right);

/// One thing to draw, in order. See Layout::primitives.
struct Primitive {
    enum class Shape { Rectangle, Image, Circle };
    Shape shape = Shape::Rectangle;
    /// For a circle the square around it.
    pxl::RectF rect;
    /// Colour of the shape, tint of an image.
    pxl::Color color;
    /// For an image: element and which of its images.
    int element = 0;
    int image = 0;
};

/// A list of image buttons, image toggles and sliders. An element is addressed by the index that its add…
/// returned. Every operation expects the caller to hold the layout lock, the one mutex that the canvas keeps
/// for all its lists; none of them takes it, and none calls a callback.
///
/// Calls with an index that does not exist, or that belongs to an element of another kind, do nothing and
/// return a default.
class Layout {
public:
    using OnValue = std::function<void(int32_t value)>;
    using OnToggle = std::function<void(bool state)>;
    using OnClick = std::function<void(int element)>;
    /// Shared with whoever else shows the picture.
    using Picture = std::shared_ptr<const pxl::Image>;

    Layout() = default;
    /// Textures die here if `releaseTextures` was not called: then the context must be current.
    ~Layout();
    Layout(const Layout&) = delete;
    Layout& operator=(const Layout&) = delete;

    int addSlider(SliderValue value, const Geometry& geometry, OnValue onValue, const wxString& tip = {});
    int addButton(Picture picture, const Geometry& geometry, OnClick onClick, const wxString& tip = {});
    /// Starts in state 0, shown by `off`.
    int addToggle(Picture off, Picture on, const Geometry& geometry, OnToggle onToggle,
                  const wxString& tip = {});

    int count() const { return static_cast<int>(elements_.size()); }

    /// Marks the list dirty when the place changes.
    void setGeometry(int element, const Geometry& geometry);

    SliderValue slider(int element) const;
    /// Clamped into the slider's range; not reported.
    void setValue(int element, int32_t value);
    /// Negative ranges count as 0; the value is clamped, not reported.
    void setRange(int element, int32_t minimum, int32_t range);
    /// The knob follows the mouse: don't move it from elsewhere meanwhile.
    bool isDragged(int element) const;

    bool toggled(int element) const;
    /// Not reported.
    void setToggled(int element, bool state);

    bool isEnabled(int element) const;
    /// A disabled element ignores presses and is drawn faded; its tool tip still opens. Disabling ends a
    /// press.
    void setEnabled(int element, bool enabled);
    void setTip(int element, const wxString& text);

    /// Elements start enabled and the list visible. An invisible list draws nothing and takes no mouse.
    bool isVisible() const { return visible_; }
    void setVisible(bool visible);

    /// The places must be computed anew; set by whatever moves or changes an element. Starts true.
    bool isDirty() const { return dirty_; }
    void markDirty() { dirty_ = true; }
    void clearDirty() { dirty_ = false; }

    bool isHovered(int element) const;
    bool isPressed(int element) const;
    /// Forgets hover marks and presses of buttons and toggles, as when the mouse leaves the window.
    void clearHover();

    /// Takes a mouse event; pass every event to every list, `Leave` too.
    MouseResult mouse(const MouseInput& input);

    /// The tool tip of the element under the mouse. None while something is pressed: a tip takes the mouse.
    std::optional<Tip> tip() const;

    /// Centre of the slider's knob, of radius `kKnobRadius`.
    pxl::Vec2 knobCentre(int element) const;

    /// Everything to draw, back to front; empty for an invisible list.
    std::vector<Primitive> primitives() const;
    using MakeTexture = std::function<std::shared_ptr<pxl::Texture>(const pxl::Image&)>;
    /// Adds the list to the batch, in the batch's transform. Makes the textures that are drawn and not there
    /// yet, so the context must be current; with `makeTexture`, which tests replace.
    void draw(pxl::Batch& batch, const MakeTexture& makeTexture = textureMaker());
    /// Drops the textures, with the context current. The next `draw` makes them again.
    void releaseTextures();

    static constexpr int32_t kKnobRadius = 8;
    static constexpr int32_t kTrackHeight = 4;

private:
    struct ElementState {
        bool hovered = false;
        bool pressed = false;
        bool dragging = false;
        bool enabled = true;
    };
    struct ElementImage {
        Picture picture;
        std::shared_ptr<pxl::Texture> texture;
        /// The texture was asked for, successfully or not.
        bool tried = false;
    };
    struct Element {
        Kind kind = Kind::Button;
        /// A slider's value; of a toggle only `value`, 0 or 1.
        SliderValue value;
        std::vector<ElementImage> images;
        wxString tip;
        Geometry geometry;
        OnValue onValue;
        OnToggle onToggle;
        OnClick onClick;
        ElementState state;
    };

    const Element* find(int element) const;
    Element* find(int element);
    const Element* find(int element, Kind kind) const;
    Element* find(int element, Kind kind);
    int add(Element element);
    /// Index of the element whose rectangle the point lies in; −1 for none.
    int elementAt(int32_t x, int32_t y) const;
    bool pressIsHeld() const;
    bool knobContains(int element, int32_t x, int32_t y) const;
    void hover(int element);
    void press(int element, const MouseInput& input, MouseResult& result);
    void release(int element, MouseResult& result);
    void dropPress(MouseResult& result);
    void followMouse(int32_t x, MouseResult& result);
    /// Made on first use, with the context current; empty when there is no picture or the driver refuses.
    static std::shared_ptr<pxl::Texture> textureOf(Element& element, int image,
                                                   const MakeTexture& makeTexture);
    /// The rendering layer's.
    static MakeTexture textureMaker();

    std::vector<Element> elements_;
    /// Slider whose knob follows the mouse; −1 for none.
    int dragged_ = -1;
    bool dirty_ = true;
    bool visible_ = true;
};

} // namespace ui2
