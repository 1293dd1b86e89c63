// Any bytes as a list of regions: parsed, and what was understood written and parsed again.
#include <tuple>

#include "fuzz/fuzz_target.h"
#include "regions_csv.h"

namespace {

auto fields(const regions_csv::Region& region) {
    return std::tie(region.firstFrame, region.lastFrame, region.x, region.y, region.w, region.h,
                    region.score);
}

void checkRegion(const regions_csv::Region& region) {
    fuzz::require(region.firstFrame >= 1 && region.firstFrame <= region.lastFrame, "frames are in order");
    fuzz::require(region.w >= 1 && region.h >= 1, "a region has an area");
    fuzz::require(region.score >= 0 && region.score <= 100, "a score is a percentage");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    wxString error;
    const auto regions = regions_csv::parse(fuzz::text(data, size), error);
    fuzz::require(regions.has_value() == error.empty(), "there are regions or an error");
    if (!regions)
        return 0;
    const auto again = regions_csv::parse(regions_csv::write(*regions), error);
    fuzz::require(again && again->size() == regions->size(), "what was written is parsed");
    for (size_t i = 0; i < regions->size(); ++i) {
        checkRegion((*regions)[i]);
        fuzz::require(fields((*regions)[i]) == fields((*again)[i]), "what was written comes back");
    }
    return 0;
}
