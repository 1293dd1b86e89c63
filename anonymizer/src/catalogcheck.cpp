#include "catalogcheck.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace {

constexpr uint32_t kMagic = 0x950412de;
constexpr uint32_t kSwappedMagic = 0xde120495;

/// The file as numbers of 32 bits in its own byte order.
class CatalogFile {
public:
    explicit CatalogFile(const std::string& content) : content_(content) {}

    bool isSound() {
        const std::optional<uint32_t> magic = number(0);
        isBigEndian_ = magic == kSwappedMagic;
        if (magic != kMagic && !isBigEndian_)
            return false;
        const std::optional<uint32_t> count = number(8), originals = number(12), translations = number(16);
        if (!count || !originals || !translations || *count == 0 || *count > content_.size() / 8)
            return false;
        // The header, the translation of no text, has the rule for plurals.
        if (number(*originals) != 0u)
            return false;
        for (uint64_t i = 0; i < *count; ++i)
            if (!hasText(*originals + 8 * i) || !hasText(*translations + 8 * i))
                return false;
        return true;
    }

private:
    std::optional<uint32_t> number(uint64_t offset) const {
        if (offset + 4 > content_.size())
            return std::nullopt;
        uint32_t value = 0;
        for (unsigned i = 0; i < 4; ++i) {
            const auto byte = static_cast<uint8_t>(content_[static_cast<std::size_t>(offset + i)]);
            value |= uint32_t{byte} << 8 * (isBigEndian_ ? 3 - i : i);
        }
        return value;
    }

    /// A table's entry: length without the end mark, then offset.
    bool hasText(uint64_t entry) const {
        const std::optional<uint32_t> length = number(entry), offset = number(entry + 4);
        if (!length || !offset)
            return false;
        const uint64_t end = uint64_t{*offset} + *length;
        return end < content_.size() && content_[static_cast<std::size_t>(end)] == '\0';
    }

    const std::string& content_;
    bool isBigEndian_ = false;
};

} // namespace

bool isSoundCatalog(const std::string& content) {
    return CatalogFile(content).isSound();
}
