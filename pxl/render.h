#pragma once

#include "pxl/geometry.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// The rendering interfaces. Every object is made, used and destroyed on the thread that draws, with the
/// canvas's OpenGL context current: the last reference to one must not outlive the context. Failures are
/// logged as errors through pxl::log; a creating function then returns an empty pointer.
namespace pxl {

/// RGBA picture on the graphics card, 8 bits per channel.
class Texture {
public:
    /// Where a texture's next content is written.
    struct Mapping {
        /// First byte of the top row; null when the driver gave no memory. Write only.
        uint8_t* pixels = nullptr;
        /// Bytes from one row to the next: width × 4.
        uint32_t pitch = 0;

        explicit operator bool() const { return pixels != nullptr; }
    };

    virtual ~Texture() = default;
    /// Pixels.
    virtual uint32_t width() const = 0;
    /// Pixels.
    virtual uint32_t height() const = 0;
    /// The name that the graphics library knows the texture by.
    virtual uint32_t nativeName() const = 0;
    /// Replaces the whole picture from width × height × 4 bytes, rows packed, top row first. Null is logged
    /// and ignored.
    virtual void upload(const void* pixels) = 0;
    /// 1 when the bottom row comes first (a picture that was drawn into), else 0.
    virtual uint8_t flipped() const = 0;
    /// Opens the texture for writing a whole new picture; its former content is not readable there. Valid
    /// until unmap(). A null mapping means that the driver refused (logged): nothing must be unmapped then.
    virtual Mapping map() = 0;
    /// Closes the mapping and makes what was written the texture's content. Ignored when nothing is mapped.
    /// False when the driver lost the memory (logged): the texture keeps its former content.
    virtual bool unmap() = 0;
};

/// What a uniform of a shader is; the numbers are part of the shader's description.
enum class UniformKind : uint32_t {
    None = 0,
    Float = 1,
    Vec2 = 2,
    Vec3 = 3,
    Vec4 = 4,
    Mat2x3 = 5,
    Mat4 = 6,
    /// Takes a texture unit instead of floats.
    Sampler2D = 7,
    /// Filter and wrapping of the sampler that the name without "_sampler" belongs to.
    SamplerSettings = 8,
};

/// Floats that one element of the kind takes in a material's store; 0 for samplers and their settings.
uint32_t uniformFloats(UniformKind kind);

/// One active uniform of a shader.
struct Uniform {
    /// Without the "[0]" that drivers append to the names of arrays.
    std::string name;
    UniformKind kind = UniformKind::None;
    /// Elements; 1 unless the uniform is an array.
    uint32_t arraySize = 1;
    /// −1 for sampler settings.
    int32_t location = -1;
    /// Texture unit, for samplers and their settings.
    uint32_t unit = 0;
};

class Shader {
public:
    virtual ~Shader() = default;
    /// The active uniforms in the driver's order, each sampler followed by its settings. Lives as long as
    /// the shader.
    virtual const std::vector<Uniform>& uniforms() const = 0;
};

enum class IndexFormat : uint32_t {
    UInt16 = 0,
    UInt32 = 1,
};

/// Element kinds of vertex attributes; any other number is one unsigned byte that takes no room.
enum class VertexElement : uint32_t {
    Float1 = 1,
    Float2 = 2,
    Float3 = 3,
    Float4 = 4,
    Byte2 = 5,
    Byte4 = 6,
    UByte4 = 7,
    UByte2 = 8,
    Short2 = 9,
    UShort2 = 10,
    Short4 = 11,
    UShort4 = 12,
};

/// Bytes that an element of the kind takes in a vertex.
uint32_t vertexElementSize(VertexElement kind);

struct VertexAttribute {
    uint32_t location = 0;
    VertexElement kind = VertexElement::Float1;
    /// 1 maps integers to 0 … 1 (signed: −1 … 1).
    uint8_t normalised = 0;
};

/// How vertices lie in memory: attributes follow each other without gaps.
struct VertexLayout {
    static constexpr uint32_t maxAttributes = 16;

    VertexAttribute attributes[maxAttributes];
    /// Entries of `attributes` in use.
    uint32_t count = 0;
    /// Bytes from one vertex to the next.
    uint32_t stride = 0;

    /// Appends an attribute and makes the stride the sum of all sizes. False when the layout is full.
    bool add(uint32_t location, VertexElement kind, bool normalised = false);
};

/// Vertices and indices on the graphics card.
class Mesh {
public:
    virtual ~Mesh() = default;
    /// Replaces all indices. Copies `count` values of the format's size.
    virtual void setIndices(IndexFormat format, const void* data, uint32_t count) = 0;
    /// Replaces all vertices. Copies `count` × stride bytes.
    virtual void setVertices(const VertexLayout& layout, const void* data, uint32_t count) = 0;
    virtual uint32_t indexCount() const = 0;
    virtual uint32_t vertexCount() const = 0;
};

/// What is drawn into. A target that createRenderTarget did not make stands for the window's default
/// framebuffer.
class RenderTarget {
public:
    virtual ~RenderTarget() = default;
    /// Physical pixels.
    virtual int32_t width() const = 0;
    /// Physical pixels.
    virtual int32_t height() const = 0;
    /// Width and height of one moment, physical pixels.
    virtual Size size() const = 0;
    /// Fills the whole target, with depth and stencil set to 0.
    virtual void clear(Color color) = 0;
    /// What was drawn, bottom row first; empty for the window.
    virtual std::shared_ptr<Texture> texture() const = 0;
};

/// The program's one shader: textured and tinted with mask (1, 0), flat colour with mask (0, 1).
std::shared_ptr<Shader> createShader();
/// A shader from GLSL 3.30 sources. Any text in a compile or link log, warnings included, is a failure.
std::shared_ptr<Shader> createShader(const std::string& vertexSource, const std::string& fragmentSource);
std::shared_ptr<Mesh> createMesh();
/// Content undefined until written. Refuses sizes below 1 and above the driver's limit.
std::shared_ptr<Texture> createTexture(uint32_t width, uint32_t height);
/// An off-screen target; its texture stays valid on its own.
std::shared_ptr<RenderTarget> createRenderTarget(uint32_t width, uint32_t height);

/// The process-wide current target: where a batch draws that was told no other. Empty at first.
void setCurrentRenderTarget(std::shared_ptr<RenderTarget> target);
std::shared_ptr<RenderTarget> currentRenderTarget();

/// RenderTarget::clear for the window's default framebuffer.
void clearWindow(Color color);

class Material;

/// Draws `indexCount` indices of the mesh, beginning with `firstIndex`, as triangles. A range beyond the
/// mesh's indices draws nothing.
void draw(RenderTarget& target, const Material& material, const Mesh& mesh, uint32_t firstIndex,
          uint32_t indexCount);

/// Calls of draw() that reached the driver since the process began.
uint64_t drawCallCount();

} // namespace pxl
