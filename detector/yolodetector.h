#pragma once

#include <memory>
#include <string>
#include <vector>

#include <opencv2/dnn.hpp>

#include "doriq_contract.h"

/// Runs a Darknet network of the YOLO kind on OpenCV. Used by one thread at a time.
class YoloDetector final : public doriq::ObjectDetector {
public:
    /// Reads the model (paths are UTF-8) and runs it once on an empty picture. Throws std::exception, with a
    /// text for the user, when the files can't be read, don't fit together or the network can't be run. With
    /// `gpu` it uses OpenCL where there is a device that runs the network, the processor otherwise.
    YoloDetector(const std::string& cfgPath, const std::string& weightsPath, bool gpu);

    void reserved1() override {}
    void reserved2() override {}
    void reserved3() override {}
    void reserved4() override {}
    void reserved5() override {}

    /// Never throws: a failure is 0 hits and a line on standard error. Boxes are clamped to the frame; equal
    /// hits keep the order of the network's outputs.
    int32_t detect(const uint32_t* pixels, int32_t width, int32_t height, doriq::DetectionRecord* results,
                   const doriq::DetectParams* params) override;

private:
    struct Hit {
        cv::Rect2f box;
        float probability = 0;
        int32_t classId = 0;
    };

    void run();
    bool runsOnGpu();
    std::vector<Hit> hitsAbove(float threshold, float frameWidth, float frameHeight) const;
    std::vector<Hit> withoutOverlaps(std::vector<Hit> hits, float nmsThreshold) const;

    cv::dnn::Net net_;
    cv::Size inputSize_;
    int32_t classes_ = 0;
    std::vector<cv::String> outputNames_;
    // Kept between calls so that a frame needs no new memory.
    cv::Mat scaled_;
    cv::Mat rgb_;
    cv::Mat blob_;
    std::vector<cv::Mat> outputs_;
};
