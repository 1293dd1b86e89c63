#include "pxl/material.h"

#include "pxl/log.h"

#include <algorithm>
#include <utility>

namespace pxl {

Material::Material(std::shared_ptr<Shader> shader) : shader_(std::move(shader)) {
    if (!shader_)
        return;
    std::size_t floatCount = 0;
    for (const Uniform& uniform : shader_->uniforms()) {
        floatCount += std::size_t{uniformFloats(uniform.kind)} * uniform.arraySize;
        if (uniform.kind == UniformKind::Sampler2D)
            samplers_.push_back({uniform.name, uniform.unit, nullptr, {}});
    }
    floats_.resize(floatCount);
}

void Material::setFloats(const std::string& name, const float* values, uint32_t count) {
    if (!shader_)
        return;
    std::size_t offset = 0;
    for (const Uniform& uniform : shader_->uniforms()) {
        const uint32_t room = uniformFloats(uniform.kind) * uniform.arraySize;
        if (uniform.name == name) {
            if (count > room)
                log::error("Too many uniform floats");
            std::copy_n(values, std::min(count, room), floats_.begin() + static_cast<std::ptrdiff_t>(offset));
            return;
        }
        offset += room;
    }
}

void Material::setMatrix(const std::string& name, const float (&values)[16]) {
    setFloats(name, values, 16);
}

void Material::setTexture(const std::string& name, std::shared_ptr<Texture> texture) {
    const auto sampler = std::find_if(samplers_.begin(), samplers_.end(),
                                      [&](const Sampler& known) { return known.name == name; });
    if (sampler == samplers_.end()) {
        log::error("Could not set texture");
        return;
    }
    sampler->texture = std::move(texture);
}

void Material::setSampler(const std::string& name, SamplerSettings settings) {
    const Uniform* entry = nullptr;
    if (shader_) {
        for (const Uniform& uniform : shader_->uniforms()) {
            if (uniform.kind == UniformKind::SamplerSettings && uniform.name == name)
                entry = &uniform;
        }
    }
    const auto sampler = std::find_if(samplers_.begin(), samplers_.end(), [&](const Sampler& known) {
        return entry != nullptr && known.unit == entry->unit;
    });
    if (sampler == samplers_.end()) {
        log::error("Could not set texture sampler");
        return;
    }
    sampler->settings = settings;
}

} // namespace pxl
