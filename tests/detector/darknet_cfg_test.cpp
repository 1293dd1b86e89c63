#include "darknet_cfg.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/darknet_models.h"

using darknet::readNetwork;
using darknet::weightsProblem;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

std::string start(const std::string& weights) {
    return weights.substr(0, darknet::kWeightsHeaderBytes);
}

std::string problemOf(const std::string& cfg) {
    return readNetwork(cfg).problem;
}

const std::string kNet = "[net]\nwidth=32\nheight=32\nchannels=3\n";
const std::string kConv = "[convolutional]\nfilters=18\nsize=1\nstride=1\nactivation=linear\n";
const std::string kYolo = "[yolo]\nmask=0,1,2\nanchors=1,1,2,2,3,3\nclasses=1\nnum=3\n";

} // namespace

TEST(DarknetCfg, ReadsYolov4Tiny) {
    const auto network = readNetwork(test::yolov4Tiny(416, 80).cfg);
    EXPECT_THAT(network.problem, IsEmpty());
    EXPECT_EQ(network.width, 416);
    EXPECT_EQ(network.height, 416);
    EXPECT_EQ(network.classes, 80);
    // The model with 80 classes is a file of 24251276 bytes.
    EXPECT_EQ(network.weightCount * 4 + 20, 24251276);
}

TEST(DarknetCfg, CountsTheWeightsThatTheWritersWrote) {
    for (const auto& model : {test::colourModel(), test::yolov4Tiny(64, 2)}) {
        const auto network = readNetwork(model.cfg);
        EXPECT_THAT(network.problem, IsEmpty());
        EXPECT_THAT(weightsProblem(network, start(model.weights), static_cast<int64_t>(model.weights.size())),
                    IsEmpty());
    }
}

TEST(DarknetCfg, SkipsCommentsBlanksAndWindowsLineEnds) {
    const auto network =
        readNetwork("# a model\r\n\r\n[net]\r\n; size\r\n width = 32 \r\nheight\t=\t32\r\n" + kConv + kYolo);
    EXPECT_THAT(network.problem, IsEmpty());
    EXPECT_EQ(network.width, 32);
    EXPECT_EQ(network.weightCount, 18 + 18 * 3);
}

TEST(DarknetCfg, ANormalizedConvolutionHasFourNumbersPerFilter) {
    const auto network =
        readNetwork(kNet + "[convolutional]\nbatch_normalize=1\nfilters=18\nsize=3\npad=1\n" + kYolo);
    EXPECT_THAT(network.problem, IsEmpty());
    EXPECT_EQ(network.weightCount, 4 * 18 + 18 * 3 * 9);
}

TEST(DarknetCfg, SaysWhatIsWrong) {
    EXPECT_THAT(problemOf(""), HasSubstr("[net]"));
    EXPECT_THAT(problemOf("width=1\n"), HasSubstr("line 1"));
    EXPECT_THAT(problemOf(kNet + "what is this\n"), HasSubstr("line 5"));
    EXPECT_THAT(problemOf("[net]\nwidth=0\nheight=32\n"), HasSubstr("width"));
    EXPECT_THAT(problemOf("[net]\nwidth=thirty\nheight=32\n"), HasSubstr("\"thirty\""));
    EXPECT_THAT(problemOf("[net]\nwidth=99999999999999\nheight=32\n"), HasSubstr("99999999999999"));
    EXPECT_THAT(problemOf("[net]\nwidth=32\nheight=32\nchannels=1\n"), HasSubstr("channels"));
    EXPECT_THAT(problemOf(kNet + kConv), HasSubstr("no [yolo] layer"));
    EXPECT_THAT(problemOf(kNet + "[lstm]\n"), HasSubstr("[lstm] at line 5"));
    EXPECT_THAT(problemOf(kNet + "[route]\nlayers=-1\n"), HasSubstr("does not exist"));
    EXPECT_THAT(problemOf(kNet + "[route]\n"), HasSubstr("names no layers"));
    EXPECT_THAT(problemOf(kNet + kConv + "[route]\nlayers=1\n"), HasSubstr("does not exist"));
    EXPECT_THAT(problemOf(kNet + "[maxpool]\nsize=64\nstride=1\npadding=0\n"), HasSubstr("leaves nothing"));
    EXPECT_THAT(problemOf(kNet + "[convolutional]\nfilters=65536\nsize=65536\n"),
                HasSubstr("too many weights"));
    EXPECT_THAT(problemOf(kNet + kConv + "[upsample]\nstride=60000\n"), HasSubstr("too large"));
    EXPECT_THAT(problemOf(kNet + kConv + "[yolo]\nmask=0,1,2\nclasses=80\n"), HasSubstr("80 classes"));
    EXPECT_THAT(problemOf(kNet + kConv + kYolo + "[route]\nlayers=0\n" + "[convolutional]\nfilters=21\n" +
                          "[yolo]\nmask=0,1,2\nclasses=2\n"),
                HasSubstr("differs"));
}

TEST(DarknetCfg, EveryYoloSectionIsToldToReportAllBoxes) {
    EXPECT_EQ(darknet::withAllBoxes("[net]\nthresh=1\n[yolo]\n thresh = .5\nnum=3\nnms_threshold=0.4\n"
                                    "[route]\nthresh=2\n[ yolo ]\r\nnum=3"),
              "[net]\nthresh=1\n[yolo]\nthresh=0\nnms_threshold=0\nnum=3\n"
              "[route]\nthresh=2\n[ yolo ]\r\nthresh=0\nnms_threshold=0\nnum=3\n");
    EXPECT_EQ(darknet::withAllBoxes(""), "");
}

TEST(DarknetCfg, SurvivesEveryCutAndEveryDamagedByte) {
    const std::string cfg = test::yolov4Tiny(64, 2).cfg;
    for (size_t length = 0; length < cfg.size(); length += 7)
        readNetwork(cfg.substr(0, length));
    for (size_t place = 0; place < cfg.size(); place += 3)
        for (const char damage : {'\0', '-', '9', '[', '=', '\n', '\xff'}) {
            std::string damaged = cfg;
            damaged[place] = damage;
            readNetwork(damaged);
        }
}

TEST(DarknetCfg, LayersCannotEnlargeThePictureWithoutEnd) {
    std::string cfg = "[net]\nwidth=65536\nheight=65536\n";
    for (int layer = 0; layer < 17000; ++layer)
        cfg += "[conv]\npadding=65536\n";
    EXPECT_THAT(readNetwork(cfg).problem, HasSubstr("too large"));
}

TEST(DarknetWeights, AreRefusedWhenTooShortOrTooLong) {
    const auto model = test::colourModel();
    const auto network = readNetwork(model.cfg);
    const auto size = static_cast<int64_t>(model.weights.size());
    EXPECT_THAT(weightsProblem(network, start(model.weights), size - 1), HasSubstr("bytes of weights"));
    EXPECT_THAT(weightsProblem(network, start(model.weights), size + 4), HasSubstr("bytes of weights"));
    EXPECT_THAT(weightsProblem(network, "", 0), HasSubstr("too short"));
    EXPECT_THAT(weightsProblem(network, model.weights.substr(0, 15), 15), HasSubstr("too short"));
}

TEST(DarknetWeights, OldFilesHaveAShorterHeader) {
    auto model = test::colourModel();
    model.weights[4] = 1; // version 0.1
    model.weights.erase(12, 4);
    const auto network = readNetwork(model.cfg);
    EXPECT_THAT(weightsProblem(network, start(model.weights), static_cast<int64_t>(model.weights.size())),
                IsEmpty());
}
