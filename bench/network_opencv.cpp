#include <memory>
#include <vector>

#include <opencv2/dnn.hpp>

#include "network.h"

namespace bench {

std::function<void()> bareNetwork(const std::string& cfgPath, const std::string& weightsPath, int side) {
    const auto net = std::make_shared<cv::dnn::Net>(cv::dnn::readNetFromDarknet(cfgPath, weightsPath));
    net->setPreferableBackend(cv::dnn::DNN_BACKEND_OPENCV);
    const cv::Mat blob = cv::dnn::blobFromImage(cv::Mat::zeros(side, side, CV_8UC3));
    const auto names = net->getUnconnectedOutLayersNames();
    return [net, blob, names] {
        std::vector<cv::Mat> outputs;
        net->setInput(blob);
        net->forward(outputs, names);
    };
}

} // namespace bench
