#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "doriq_contract.h"
#include "pxl/image.h"
#include "support/ai_folder.h"
#include "support/darknet_models.h"
#include "support/paths.h"

using doriq::DetectionRecord;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

constexpr uint32_t rgba(uint32_t r, uint32_t g, uint32_t b) {
    return 0xFF000000u | b << 16 | g << 8 | r;
}
constexpr uint32_t kRed = rgba(255, 0, 0);
constexpr uint32_t kGreen = rgba(0, 255, 0);
constexpr uint32_t kBlue = rgba(0, 0, 255);
constexpr uint32_t kGrey = rgba(60, 60, 60);

/// The library as an application meets it: loaded at run time, two functions, one object.
class Doriq : public testing::Test {
protected:
    void SetUp() override {
        handle_ = dlopen(test::detectorLibrary().c_str(), RTLD_NOW | RTLD_LOCAL);
        ASSERT_TRUE(handle_) << dlerror();
        build = reinterpret_cast<doriq::BuildObjectDetector>(dlsym(handle_, doriq::kBuildSymbol));
        destroy = reinterpret_cast<doriq::DestroyObjectDetector>(dlsym(handle_, doriq::kDestroySymbol));
        ASSERT_TRUE(build && destroy);
    }
    void TearDown() override {
        if (detector)
            destroy(detector);
    }

    void install(const test::DarknetModel& model) {
        folder.installModel(model.names, model.cfg, model.weights);
    }
    doriq::ObjectDetector* make(bool gpu = false) {
        return build((folder.modelDir() + "/model.cfg").c_str(),
                     (folder.modelDir() + "/model.weights").c_str(), gpu);
    }
    /// What building says on standard error; expects it to fail.
    std::string refusal() {
        testing::internal::CaptureStderr();
        EXPECT_EQ(make(), nullptr);
        return testing::internal::GetCapturedStderr();
    }

    std::vector<DetectionRecord> detect(const pxl::Image& image, float threshold = 0.1f, float nms = 0.3f) {
        std::vector<DetectionRecord> results(doriq::kMaxDetections);
        const doriq::DetectParams params{threshold, 1, nms};
        const int32_t count =
            detector->detect(image.pixels, image.width, image.height, results.data(), &params);
        EXPECT_GE(count, 0);
        EXPECT_LE(count, doriq::kMaxDetections);
        results.resize(static_cast<size_t>(count));
        return results;
    }

    test::AiFolder folder;
    doriq::BuildObjectDetector build = nullptr;
    doriq::DestroyObjectDetector destroy = nullptr;
    doriq::ObjectDetector* detector = nullptr;

private:
    void* handle_ = nullptr;
};

pxl::Image greyPicture(int32_t width, int32_t height) {
    pxl::Image image(width, height);
    std::fill(image.pixels, image.pixels + image.pixelCount(), kGrey);
    return image;
}

/// Paints the core of one cell: the half of it around its centre.
void paintCell(pxl::Image& image, int32_t column, int32_t row, uint32_t colour) {
    const int32_t cellWidth = image.width / test::kColourModelCells;
    const int32_t cellHeight = image.height / test::kColourModelCells;
    for (int32_t y = cellHeight / 4; y < cellHeight * 3 / 4; ++y)
        for (int32_t x = cellWidth / 4; x < cellWidth * 3 / 4; ++x)
            image.pixels[(row * cellHeight + y) * image.width + column * cellWidth + x] = colour;
}

void expectRecord(const DetectionRecord& record, int32_t x, int32_t y, int32_t w, int32_t h,
                  float probability, int32_t classId) {
    EXPECT_EQ(record.x, x);
    EXPECT_EQ(record.y, y);
    EXPECT_EQ(record.w, w);
    EXPECT_EQ(record.h, h);
    EXPECT_NEAR(record.probability, probability, 0.001f);
    EXPECT_EQ(record.classId, classId);
}

} // namespace

TEST_F(Doriq, FindsColouredBoxesExactlyBestFirst) {
    install(test::colourModel());
    detector = make();
    ASSERT_TRUE(detector);
    // Cells of 32 × 18 pixels.
    pxl::Image image = greyPicture(640, 360);
    paintCell(image, 15, 4, kGreen);
    paintCell(image, 3, 7, kRed);
    paintCell(image, 9, 12, kBlue);
    const auto found = detect(image);
    ASSERT_THAT(found, SizeIs(3));
    expectRecord(found[0], 3 * 32, 7 * 18 - 9, 32, 36, 0.9f, 0);
    expectRecord(found[1], 9 * 32, 12 * 18, 32, 18, 0.8f, 2);
    expectRecord(found[2], 15 * 32 - 16, 4 * 18, 64, 18, 0.7f, 1);
}

TEST_F(Doriq, BoxesAreClampedToTheFrame) {
    install(test::colourModel());
    detector = make();
    ASSERT_TRUE(detector);
    pxl::Image image = greyPicture(640, 360);
    paintCell(image, 0, 0, kRed);
    paintCell(image, 19, 19, kGreen);
    const auto found = detect(image);
    ASSERT_THAT(found, SizeIs(2));
    expectRecord(found[0], 0, 0, 32, 27, 0.9f, 0);
    expectRecord(found[1], 592, 342, 48, 18, 0.7f, 1);
}

TEST_F(Doriq, FindsNothingInAnEmptyPicture) {
    install(test::colourModel());
    detector = make();
    ASSERT_TRUE(detector);
    EXPECT_THAT(detect(greyPicture(640, 360)), IsEmpty());
}

TEST_F(Doriq, TheThresholdDecides) {
    install(test::colourModel());
    detector = make();
    ASSERT_TRUE(detector);
    pxl::Image image = greyPicture(640, 360);
    paintCell(image, 3, 7, kRed);
    paintCell(image, 15, 4, kGreen);
    EXPECT_THAT(detect(image, 0.69f), SizeIs(2));
    EXPECT_THAT(detect(image, 0.75f), SizeIs(1));
    EXPECT_THAT(detect(image, 0.95f), IsEmpty());
}

TEST_F(Doriq, NothingAboveTheCallersThresholdIsLostToTheModelsOwn) {
    auto model = test::colourModel({0.11f, 0.19f, 0.09f});
    for (const char* own : {"", "thresh=.7\nnms_threshold = 0.01\n"}) {
        SCOPED_TRACE(own);
        auto stricter = model;
        stricter.cfg += own;
        install(stricter);
        detector = make();
        ASSERT_TRUE(detector);
        pxl::Image image = greyPicture(640, 360);
        paintCell(image, 3, 7, kRed);
        paintCell(image, 9, 4, kGreen);
        paintCell(image, 15, 12, kBlue);
        const auto found = detect(image);
        ASSERT_THAT(found, SizeIs(2));
        EXPECT_NEAR(found[0].probability, 0.19f, 0.001f);
        EXPECT_NEAR(found[1].probability, 0.11f, 0.001f);
        destroy(detector);
        detector = nullptr;
    }
}

TEST_F(Doriq, OfOverlappingHitsOfOneClassOneStays) {
    install(test::colourModel());
    detector = make();
    ASSERT_TRUE(detector);
    pxl::Image image = greyPicture(640, 360);
    // Persons are two cells high: neighbours share a third of their union.
    paintCell(image, 5, 6, kRed);
    paintCell(image, 5, 7, kRed);
    EXPECT_THAT(detect(image, 0.1f, 0.3f), SizeIs(1));
    EXPECT_THAT(detect(image, 0.1f, 0.4f), SizeIs(2));
}

TEST_F(Doriq, OverlappingHitsOfDifferentClassesStay) {
    install(test::colourModel());
    detector = make();
    ASSERT_TRUE(detector);
    pxl::Image image = greyPicture(640, 360);
    paintCell(image, 5, 6, kRed);
    paintCell(image, 5, 7, kBlue);
    EXPECT_THAT(detect(image, 0.1f, 0.01f), SizeIs(2));
}

TEST_F(Doriq, EverySizeOfPictureIsTaken) {
    install(test::colourModel());
    detector = make();
    ASSERT_TRUE(detector);
    for (const auto& [width, height] : std::vector<std::pair<int32_t, int32_t>>{
             {1, 1}, {1, 999}, {4000, 1}, {321, 181}, {160, 160}, {1920, 1080}}) {
        SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
        EXPECT_THAT(detect(greyPicture(width, height)), IsEmpty());
    }
    pxl::Image image = greyPicture(1920, 1080);
    paintCell(image, 3, 7, kRed);
    const auto found = detect(image);
    ASSERT_THAT(found, SizeIs(1));
    expectRecord(found[0], 288, 351, 96, 108, 0.9f, 0);
}

TEST_F(Doriq, ManyHitsNeverExceedTheArray) {
    // Blue everywhere with no suppression: 400 cells, each in three overlapping sizes would be too many for
    // a model of one class only; the loose threshold lets every box of every class through.
    auto model = test::colourModel();
    std::vector<float> values((model.weights.size() - 20) / 4);
    std::memcpy(values.data(), model.weights.data() + 20, values.size() * 4);
    std::fill(values.begin(), values.end(), 0.0f);
    for (int filter = 0; filter < 24; ++filter)
        values[static_cast<size_t>(filter)] = filter % 8 < 4 ? 0.0f : 5.0f;
    std::memcpy(model.weights.data() + 20, values.data(), values.size() * 4);
    install(model);
    detector = make();
    ASSERT_TRUE(detector);
    EXPECT_THAT(detect(greyPicture(640, 360), 0.1f, 1.0f), SizeIs(1000));
}

TEST_F(Doriq, SenselessCallsGiveNoHits) {
    install(test::colourModel());
    detector = make();
    ASSERT_TRUE(detector);
    const pxl::Image image = greyPicture(64, 64);
    std::vector<DetectionRecord> results(doriq::kMaxDetections);
    const doriq::DetectParams params{0.1f, 1, 0.3f};
    EXPECT_EQ(detector->detect(nullptr, 64, 64, results.data(), &params), 0);
    EXPECT_EQ(detector->detect(image.pixels, 0, 64, results.data(), &params), 0);
    EXPECT_EQ(detector->detect(image.pixels, 64, -1, results.data(), &params), 0);
    EXPECT_EQ(detector->detect(image.pixels, 64, 64, nullptr, &params), 0);
    EXPECT_EQ(detector->detect(image.pixels, 64, 64, results.data(), nullptr), 0);
}

TEST_F(Doriq, RunsTheWholeYolov4Tiny) {
    install(test::yolov4Tiny(416, 80));
    detector = make();
    ASSERT_TRUE(detector);
    EXPECT_THAT(detect(greyPicture(1280, 720)), IsEmpty());
}

TEST_F(Doriq, TheGpuIsUsedWhereThereIsOneAndTheProcessorOtherwise) {
    install(test::colourModel());
    detector = make(true);
    ASSERT_TRUE(detector);
    pxl::Image image = greyPicture(640, 360);
    paintCell(image, 3, 7, kRed);
    EXPECT_THAT(detect(image), SizeIs(1));
}

TEST_F(Doriq, TwoDetectorsLiveSideBySide) {
    install(test::colourModel());
    detector = make();
    doriq::ObjectDetector* second = make();
    ASSERT_TRUE(detector && second);
    EXPECT_NE(detector, second);
    destroy(second);
    EXPECT_THAT(detect(greyPicture(64, 64)), IsEmpty());
}

TEST_F(Doriq, DestroyingNothingIsHarmless) {
    destroy(nullptr);
}

TEST_F(Doriq, ABrokenModelGivesNullAndOneLine) {
    const auto model = test::colourModel();
    struct Case {
        const char* what;
        std::string cfg, weights, says;
    };
    const std::string short20 = model.weights.substr(0, 20);
    for (const Case& broken :
         {Case{"empty cfg", "", model.weights, "[net]"}, Case{"binary cfg", model.weights, model.weights, ""},
          Case{"empty weights", model.cfg, "", "too short"}, Case{"header only", model.cfg, short20, "bytes"},
          Case{"weights cut", model.cfg, model.weights.substr(0, model.weights.size() - 1), "bytes"},
          Case{"weights of another model", model.cfg, test::yolov4Tiny(64, 2).weights, "bytes"},
          Case{"unknown layer", model.cfg + "[lstm]\n", model.weights, "[lstm]"},
          Case{"an unknown activation",
               "[net]\nwidth=32\nheight=32\n[convolutional]\nfilters=18\nsize=1\n"
               "activation=nonsense\n[yolo]\nmask=0,1,2\nanchors=1,1,2,2,3,3\n"
               "classes=1\nnum=3\n",
               std::string(model.weights, 0, 20) + std::string(4 * 72, '\0'), ""}}) {
        SCOPED_TRACE(broken.what);
        install({model.names, broken.cfg, broken.weights});
        const std::string text = refusal();
        EXPECT_THAT(text, testing::StartsWith("Doriq: "));
        EXPECT_THAT(text, HasSubstr(broken.says));
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1);
    }
}

TEST_F(Doriq, MissingFilesGiveNull) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(build("/nowhere/a.cfg", "/nowhere/a.weights", false), nullptr);
    EXPECT_EQ(build(nullptr, nullptr, false), nullptr);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("/nowhere/a.cfg can't be read"));
}

TEST_F(Doriq, PathsAreUtf8) {
    test::AiFolder foreign("Größe Камера 🎬");
    const auto model = test::colourModel();
    foreign.installModel(model.names, model.cfg, model.weights);
    detector = build((foreign.modelDir() + "/model.cfg").c_str(),
                     (foreign.modelDir() + "/model.weights").c_str(), false);
    EXPECT_TRUE(detector);
}
