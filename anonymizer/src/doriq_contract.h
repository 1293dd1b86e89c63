#pragma once

#include <cstddef>
#include <cstdint>

/// The border between the application and the detection library, and the only thing they share. The
/// library is a file of its own, loaded at run time; nothing but the names and layouts below may be assumed
/// about the other side.
///
/// Across the border travel plain records, pointers and numbers: no exceptions, no standard-library types,
/// no overloaded operations, no ownership of memory. Each side frees what it allocated.
///
/// Threads: the build, every detection and the destruction of one detector come from one thread, one call at
/// a time. Different detectors may live on different threads.
namespace doriq {

/// Records the result array of a detection call has room for. A detector must never write more.
constexpr int32_t kMaxDetections = 1000;

/// One hit. Pixels of the picture passed in, origin top left.
struct DetectionRecord {
    int32_t x;
    int32_t y;
    int32_t w;
    int32_t h;
    /// 0 … 1.
    float probability;
    /// Line of the model's .names file, from 0.
    int32_t classId;
};

/// Passed to every detection call.
struct DetectParams {
    /// Hits below this probability are not reported, 0 … 1.
    float threshold;
    /// Always 1.
    int32_t one;
    /// Of two hits of one class that overlap by more than this share of their union, the weaker is dropped.
    float nmsThreshold;
};

static_assert(sizeof(int32_t) == 4 && sizeof(float) == 4, "the records are made of 4-byte fields");
static_assert(sizeof(DetectionRecord) == 24 && alignof(DetectionRecord) == 4, "record layout");
static_assert(offsetof(DetectionRecord, x) == 0 && offsetof(DetectionRecord, y) == 4, "record layout");
static_assert(offsetof(DetectionRecord, w) == 8 && offsetof(DetectionRecord, h) == 12, "record layout");
static_assert(offsetof(DetectionRecord, probability) == 16, "record layout");
static_assert(offsetof(DetectionRecord, classId) == 20, "record layout");
static_assert(sizeof(DetectParams) == 12, "parameter layout");
static_assert(offsetof(DetectParams, threshold) == 0 && offsetof(DetectParams, one) == 4, "parameter layout");
static_assert(offsetof(DetectParams, nmsThreshold) == 8, "parameter layout");

/// The detector object. It belongs to the library, which alone makes and destroys it. There is no virtual
/// destructor on purpose: it would take one or two places in the table of virtual operations, depending on
/// the compiler, and `detect` has to be in the sixth.
class ObjectDetector {
public:
    virtual void reserved1() = 0;
    virtual void reserved2() = 0;
    virtual void reserved3() = 0;
    virtual void reserved4() = 0;
    virtual void reserved5() = 0;

    /// Looks for objects in one picture and returns how many records of `results` it filled, 0 …
    /// kMaxDetections, best first. `pixels` are width × height pixels, bytes R, G, B, A in memory, rows
    /// packed, top row first; they, `results` (room for kMaxDetections) and `params` are valid during the
    /// call only. Failure is 0.
    virtual int32_t detect(const uint32_t* pixels, int32_t width, int32_t height, DetectionRecord* results,
                           const DetectParams* params) = 0;

protected:
    ~ObjectDetector() = default;
};

/// `Doriq_buildObjectDetector`: reads a model. Paths are zero-terminated UTF-8, where names of files are any
/// bytes those bytes, and valid during the call. `gpu` asks for the graphics processor where the library can
/// use one. Null when the model is unusable.
using BuildObjectDetector = ObjectDetector* (*)(const char* cfgPath, const char* weightsPath, bool gpu);

/// `Doriq_destroyObjectDetector`: frees what the build function of the same library returned, once.
using DestroyObjectDetector = void (*)(ObjectDetector* detector);

constexpr const char* kBuildSymbol = "Doriq_buildObjectDetector";
constexpr const char* kDestroySymbol = "Doriq_destroyObjectDetector";

} // namespace doriq
