/// A detection library that does what the .weights file tells it, right or wrong. One instruction per line:
///
///   build-null | build-throw | build-throw-number     what the build function does instead of its work
///   build-wait                                         building waits for the file NAME.weights.go
///   hit CALL X Y W H PROBABILITY CLASS                 a record reported in detection call CALL (0: in all)
///   count NUMBER                                       the count returned, whatever was written
///   throw | throw-number                               what every detection does
///   wait                                               every detection waits for the file NAME.weights.go
///   destroy-throw                                      what the destruction does
///
/// Every call is noted in the file NAME.weights.calls.
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "doriq_contract.h"

#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

struct Hit {
    int call = 0;
    doriq::DetectionRecord record = {};
};

class FakeDetector final : public doriq::ObjectDetector {
public:
    explicit FakeDetector(const std::string& weightsPath)
        : notesPath_(weightsPath + ".calls"), goPath_(weightsPath + ".go") {
        std::ifstream file(weightsPath);
        for (std::string line; std::getline(file, line);)
            obey(line);
    }

    void reserved1() override { note("wrong slot"); }
    void reserved2() override { note("wrong slot"); }
    void reserved3() override { note("wrong slot"); }
    void reserved4() override { note("wrong slot"); }
    void reserved5() override { note("wrong slot"); }

    int32_t detect(const uint32_t* pixels, int32_t width, int32_t height, doriq::DetectionRecord* results,
                   const doriq::DetectParams* params) override {
        ++calls_;
        std::ostringstream text;
        text << "detect " << width << "x" << height << " first " << std::hex << pixels[0] << std::dec << " "
             << params->threshold << " " << params->one << " " << params->nmsThreshold;
        note(text.str());
        if (waiting_)
            waitForGo();
        if (throwing_ == "throw")
            throw std::runtime_error("this detector always fails");
        if (throwing_ == "throw-number")
            throw 7;
        int32_t count = 0;
        for (const Hit& hit : hits_)
            if ((hit.call == 0 || hit.call == calls_) && count < doriq::kMaxDetections)
                results[count++] = hit.record;
        return count_ ? *count_ : count;
    }

    void waitForGo() const {
        while (!std::ifstream(goPath_))
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }

    void note(const std::string& text) const { std::ofstream(notesPath_, std::ios::app) << text << "\n"; }

    std::string building;
    bool throwsWhenDestroyed = false;

private:
    void obey(const std::string& line) {
        std::istringstream words(line);
        std::string word;
        words >> word;
        if (word.rfind("build-", 0) == 0)
            building = word;
        else if (word == "throw" || word == "throw-number")
            throwing_ = word;
        else if (word == "wait")
            waiting_ = true;
        else if (word == "destroy-throw")
            throwsWhenDestroyed = true;
        else if (int32_t value = 0; word == "count" && words >> value)
            count_ = value;
        else if (word == "hit")
            addHit(words);
    }

    void addHit(std::istringstream& words) {
        Hit hit;
        std::string probability;
        doriq::DetectionRecord& record = hit.record;
        words >> hit.call >> record.x >> record.y >> record.w >> record.h >> probability >> record.classId;
        record.probability = std::strtof(probability.c_str(), nullptr); // knows "nan" and "inf"
        hits_.push_back(hit);
    }

    std::string notesPath_;
    std::string goPath_;
    bool waiting_ = false;
    std::string throwing_;
    std::optional<int32_t> count_;
    std::vector<Hit> hits_;
    int calls_ = 0;
};

} // namespace

#ifndef FAKE_WITHOUT_BUILDER
FAKE_EXPORT doriq::ObjectDetector* Doriq_buildObjectDetector(const char* cfgPath, const char* weightsPath,
                                                             bool gpu) {
    auto* detector = new FakeDetector(weightsPath);
    detector->note(std::string("build ") + cfgPath + (gpu ? " gpu" : " cpu"));
    const std::string building = detector->building;
    if (building == "build-wait")
        detector->waitForGo();
    if (building.empty() || building == "build-wait")
        return detector;
    delete detector;
    if (building == "build-throw")
        throw std::runtime_error("this model is not for me");
    if (building == "build-throw-number")
        throw 7;
    return nullptr;
}
#endif

#ifndef FAKE_WITHOUT_DESTROYER
FAKE_EXPORT void Doriq_destroyObjectDetector(doriq::ObjectDetector* detector) {
    auto* fake = static_cast<FakeDetector*>(detector);
    fake->note("destroy");
    const bool throwing = fake->throwsWhenDestroyed;
    delete fake;
    if (throwing)
        throw std::runtime_error("destruction refused");
}
#endif
