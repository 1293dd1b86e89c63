#include "layout.h"

#include "pxl/batch.h"
#include "pxl/image_file.h"

namespace ui2 {

void Layout::draw(pxl::Batch& batch, const MakeTexture& makeTexture) {
    for (const Primitive& primitive : primitives()) {
        const pxl::RectF& rect = primitive.rect;
        switch (primitive.shape) {
        case Primitive::Shape::Rectangle:
            batch.fillRect(rect, primitive.color);
            break;
        case Primitive::Shape::Circle:
            batch.addCircle({rect.x + rect.width / 2, rect.y + rect.height / 2}, rect.width / 2,
                            primitive.color);
            break;
        case Primitive::Shape::Image:
            if (const auto texture = textureOf(*find(primitive.element), primitive.image, makeTexture))
                batch.drawTexture(texture, rect, {0, 0, 1, 1}, primitive.color);
            break;
        }
    }
}

Layout::MakeTexture Layout::textureMaker() {
    return [](const pxl::Image& image) { return pxl::createTexture(image); };
}

std::shared_ptr<pxl::Texture> Layout::textureOf(Element& element, int image, const MakeTexture& makeTexture) {
    ElementImage& wanted = element.images[static_cast<std::size_t>(image)];
    if (!wanted.tried && wanted.picture) {
        wanted.texture = makeTexture(*wanted.picture);
        wanted.tried = true;
    }
    return wanted.texture;
}

void Layout::releaseTextures() {
    for (Element& element : elements_) {
        for (ElementImage& image : element.images) {
            image.texture.reset();
            image.tried = false;
        }
    }
}

} // namespace ui2
