#include <exception>
#include <memory>

#include "complaint.h"
#include "doriq_export.h"
#include "yolodetector.h"

extern "C" DORIQ_EXPORT doriq::ObjectDetector* Doriq_buildObjectDetector(const char* cfgPath,
                                                                         const char* weightsPath, bool gpu) {
    if (!cfgPath || !weightsPath)
        return nullptr;
    try {
        return std::make_unique<YoloDetector>(cfgPath, weightsPath, gpu).release();
    } catch (const std::exception& error) {
        complain(error.what());
    } catch (...) {
        complain("the model can't be used");
    }
    return nullptr;
}

extern "C" DORIQ_EXPORT void Doriq_destroyObjectDetector(doriq::ObjectDetector* detector) {
    const std::unique_ptr<YoloDetector> owned(static_cast<YoloDetector*>(detector));
}
