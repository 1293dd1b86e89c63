#include "layout.h"

namespace ui2 {

namespace {

constexpr float kDisabledAlpha = 0.3f;
constexpr pxl::Color kBar{32, 32, 32, 255};
constexpr pxl::Color kTrack{115, 115, 114, 255};
constexpr pxl::Color kPlayed{0, 180, 255, 255};
constexpr pxl::Color kKnob{255, 255, 255, 255};
constexpr pxl::Color kPressedKnob{86, 86, 86, 255};

uint8_t scaled(uint8_t channel, float factor) {
    return static_cast<uint8_t>(static_cast<float>(channel) * factor);
}

pxl::RectF rectOf(const Geometry& place) {
    return {static_cast<float>(place.x), static_cast<float>(place.y), static_cast<float>(place.width),
            static_cast<float>(place.height)};
}

} // namespace

std::vector<Primitive> Layout::primitives() const {
    using Shape = Primitive::Shape;
    std::vector<Primitive> list;
    if (!visible_)
        return list;
    for (int i = 0; i < count(); ++i) {
        const Element& element = *find(i);
        const pxl::RectF place = rectOf(element.geometry);
        if (element.kind == Kind::Slider) {
            const pxl::Vec2 knob = knobCentre(i);
            pxl::RectF track = place;
            track.y = static_cast<float>(element.geometry.y + (element.geometry.height - kTrackHeight) / 2);
            track.height = kTrackHeight;
            pxl::RectF played = track;
            played.width = knob.x - place.x;
            const float radius = kKnobRadius;
            const pxl::RectF circle{knob.x - radius, knob.y - radius, 2 * radius, 2 * radius};
            list.push_back({Shape::Rectangle, place, kBar, i, 0});
            list.push_back({Shape::Rectangle, track, kTrack, i, 0});
            list.push_back({Shape::Rectangle, played, kPlayed, i, 0});
            list.push_back({Shape::Circle, circle, element.state.pressed ? kPressedKnob : kKnob, i, 0});
            continue;
        }
        const float alpha = element.state.enabled ? 1.0f : kDisabledAlpha;
        const pxl::Color bar{scaled(kBar.r, alpha), scaled(kBar.g, alpha), scaled(kBar.b, alpha),
                             scaled(kBar.a, alpha)};
        list.push_back({Shape::Rectangle, place, bar, i, 0});
        const int image = element.kind == Kind::Toggle ? element.value.value : 0;
        list.push_back({Shape::Image, place, {255, 255, 255, scaled(255, alpha)}, i, image});
    }
    return list;
}

} // namespace ui2
