// Any bytes as config.ini: read, then one key written. The first byte chooses the key and how it is written.
#include <array>
#include <filesystem>

#include "fuzz/fuzz_target.h"
#include "settings.h"
#include "support/temp_folder.h"

namespace {

constexpr std::array<const char*, 4> kKeys = {settings::kGpu, settings::kPreblurSeconds,
                                              settings::kUserLanguage, settings::kLanguage};

struct Values {
    std::array<int32_t, kKeys.size()> numbers{};
    std::array<bool, kKeys.size()> flags{};
};

Values readAll() {
    Values values;
    for (size_t i = 0; i < kKeys.size(); ++i) {
        values.numbers[i] = settings::readInt(kKeys[i]);
        values.flags[i] = settings::readBool(kKeys[i]);
    }
    return values;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const test::TempFolder root;
    static const test::Environment home("XDG_CONFIG_HOME", root.path().u8string());
    if (size == 0)
        return 0;
    const size_t chosen = data[0] % kKeys.size();
    const bool asFlag = (data[0] & 4) != 0;
    const int32_t value = asFlag ? (data[0] & 8) / 8 : 1000 - 8 * int32_t{data[0]};
    std::filesystem::create_directories(root.path() / "Tarvex Shroud");
    root.write("Tarvex Shroud/config.ini", fuzz::text(data + 1, size - 1));

    const Values before = readAll();
    if (asFlag)
        settings::writeBool(kKeys[chosen], value != 0);
    else
        settings::writeInt(kKeys[chosen], value);
    const Values after = readAll();

    fuzz::require(after.numbers[chosen] == value && after.flags[chosen] == (value != 0),
                  "a written key reads back");
    for (size_t i = 0; i < kKeys.size(); ++i)
        fuzz::require(i == chosen ||
                          (after.numbers[i] == before.numbers[i] && after.flags[i] == before.flags[i]),
                      "a write keeps the other keys");
    return 0;
}
