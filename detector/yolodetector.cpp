#include "yolodetector.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <opencv2/core/ocl.hpp>
#include <opencv2/imgproc.hpp>

#include "complaint.h"
#include "darknet_cfg.h"

namespace {

std::vector<char> readFile(const std::string& utf8Path) {
    std::ifstream file(std::filesystem::u8path(utf8Path), std::ios::binary | std::ios::ate);
    const std::streamoff size = file ? std::streamoff{file.tellg()} : -1;
    if (size < 0)
        throw std::runtime_error(utf8Path + " can't be read");
    std::vector<char> bytes(static_cast<size_t>(size));
    file.seekg(0);
    if (!file.read(bytes.data(), size))
        throw std::runtime_error(utf8Path + " can't be read");
    return bytes;
}

int32_t nearest(float value, int32_t length) {
    return static_cast<int32_t>(std::lround(std::clamp(value, 0.0f, static_cast<float>(length))));
}

} // namespace

YoloDetector::YoloDetector(const std::string& cfgPath, const std::string& weightsPath, bool gpu) {
    const std::vector<char> cfgFile = readFile(cfgPath);
    const std::string cfg(cfgFile.begin(), cfgFile.end());
    const std::vector<char> weights = readFile(weightsPath);
    const darknet::Network network = darknet::readNetwork(cfg);
    if (!network.problem.empty())
        throw std::runtime_error(cfgPath + ": " + network.problem);
    const auto headerBytes = std::min<size_t>(weights.size(), darknet::kWeightsHeaderBytes);
    const std::string problem = darknet::weightsProblem(network, std::string(weights.data(), headerBytes),
                                                        static_cast<int64_t>(weights.size()));
    if (!problem.empty())
        throw std::runtime_error(weightsPath + ": " + problem);

    const std::string reported = darknet::withAllBoxes(cfg);
    net_ = cv::dnn::readNetFromDarknet(reported.data(), reported.size(), weights.data(), weights.size());
    inputSize_ = cv::Size(network.width, network.height);
    classes_ = network.classes;
    outputNames_ = net_.getUnconnectedOutLayersNames();
    net_.setPreferableBackend(cv::dnn::DNN_BACKEND_OPENCV);
    blob_ = cv::dnn::blobFromImage(cv::Mat::zeros(inputSize_, CV_8UC3));
    if (!(gpu && runsOnGpu())) {
        net_.setPreferableTarget(cv::dnn::DNN_TARGET_CPU);
        run();
    }
    for (const cv::Mat& output : outputs_)
        if (output.dims != 2 || output.cols != classes_ + 5)
            throw std::runtime_error(cfgPath + ": an output layer is no [yolo] layer");
}

bool YoloDetector::runsOnGpu() {
    try {
        if (!cv::ocl::haveOpenCL() || !cv::ocl::Device::getDefault().available())
            return false;
        net_.setPreferableTarget(cv::dnn::DNN_TARGET_OPENCL);
        run();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void YoloDetector::run() {
    net_.setInput(blob_);
    net_.forward(outputs_, outputNames_);
}

int32_t YoloDetector::detect(const uint32_t* pixels, int32_t width, int32_t height,
                             doriq::DetectionRecord* results, const doriq::DetectParams* params) {
    if (!pixels || width < 1 || height < 1 || !results || !params)
        return 0;
    try {
        const cv::Mat frame(height, width, CV_8UC4, const_cast<uint32_t*>(pixels));
        cv::resize(frame, scaled_, inputSize_, 0, 0, cv::INTER_LINEAR);
        cv::cvtColor(scaled_, rgb_, cv::COLOR_RGBA2RGB);
        cv::dnn::blobFromImage(rgb_, blob_, 1.0 / 255.0);
        run();

        const auto hits = withoutOverlaps(
            hitsAbove(params->threshold, static_cast<float>(width), static_cast<float>(height)),
            params->nmsThreshold);
        int32_t count = 0;
        for (const Hit& hit : hits) {
            if (count == doriq::kMaxDetections)
                break;
            const int32_t left = nearest(hit.box.x, width);
            const int32_t top = nearest(hit.box.y, height);
            const int32_t right = nearest(hit.box.x + hit.box.width, width);
            const int32_t bottom = nearest(hit.box.y + hit.box.height, height);
            if (right > left && bottom > top)
                results[count++] = {left, top, right - left, bottom - top, hit.probability, hit.classId};
        }
        return count;
    } catch (const std::exception& error) {
        complain(error.what());
    } catch (...) {
        complain("the detection failed");
    }
    return 0;
}

std::vector<YoloDetector::Hit> YoloDetector::hitsAbove(float threshold, float frameWidth,
                                                       float frameHeight) const {
    // One row per box: centre and size as shares of the picture, the probability of any object, then that of
    // each class, already multiplied with it.
    std::vector<Hit> hits;
    for (const cv::Mat& output : outputs_) {
        for (int index = 0; index < output.rows; ++index) {
            const float* row = output.ptr<float>(index);
            if (!(row[4] >= threshold))
                continue;
            const float w = row[2] * frameWidth;
            const float h = row[3] * frameHeight;
            const cv::Rect2f box(row[0] * frameWidth - w / 2, row[1] * frameHeight - h / 2, w, h);
            if (!std::isfinite(box.x + box.y + w + h) || w <= 0 || h <= 0)
                continue;
            for (int32_t classId = 0; classId < classes_; ++classId)
                if (const float probability = row[5 + classId]; probability >= threshold)
                    hits.push_back({box, probability, classId});
        }
    }
    std::stable_sort(hits.begin(), hits.end(),
                     [](const Hit& a, const Hit& b) { return a.probability > b.probability; });
    return hits;
}

std::vector<YoloDetector::Hit> YoloDetector::withoutOverlaps(std::vector<Hit> hits,
                                                             float nmsThreshold) const {
    std::vector<std::vector<Hit>> keptOfClass(static_cast<size_t>(classes_));
    const auto isDuplicate = [&](const Hit& hit) {
        const auto& better = keptOfClass[static_cast<size_t>(hit.classId)];
        return std::any_of(better.begin(), better.end(), [&](const Hit& other) {
            const float shared = (hit.box & other.box).area();
            return shared > nmsThreshold * (hit.box.area() + other.box.area() - shared);
        });
    };
    std::vector<Hit> kept;
    for (const Hit& hit : hits) {
        if (kept.size() == static_cast<size_t>(doriq::kMaxDetections))
            break;
        if (isDuplicate(hit))
            continue;
        keptOfClass[static_cast<size_t>(hit.classId)].push_back(hit);
        kept.push_back(hit);
    }
    return kept;
}
