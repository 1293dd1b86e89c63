#include "catalogcheck.h"

#include <cstdint>

#include <gtest/gtest.h>

namespace {

/// One text, "" to "header": magic, revision, count, both tables' places, no hash table; tables; texts.
constexpr uint32_t kOneText[] = {0x950412de, 0, 1, 28, 36, 0, 0, 0, 44, 6, 45};

std::string number(uint32_t value, bool bigEndian) {
    std::string bytes;
    for (unsigned i = 0; i < 4; ++i)
        bytes += static_cast<char>(value >> 8 * (bigEndian ? 3 - i : i));
    return bytes;
}

std::string catalog(bool bigEndian = false) {
    std::string content;
    for (const uint32_t value : kOneText)
        content += number(value, bigEndian);
    return content + std::string("\0header\0", 8);
}

/// The catalog with one of its numbers changed.
std::string damaged(size_t place, uint32_t value) {
    return catalog().replace(4 * place, 4, number(value, false));
}

} // namespace

TEST(CatalogCheck, AcceptsBothByteOrders) {
    EXPECT_TRUE(isSoundCatalog(catalog()));
    EXPECT_TRUE(isSoundCatalog(catalog(true)));
}

TEST(CatalogCheck, RefusesEveryCut) {
    const std::string whole = catalog();
    for (size_t length = 0; length < whole.size(); ++length)
        EXPECT_FALSE(isSoundCatalog(whole.substr(0, length))) << length;
}

TEST(CatalogCheck, RefusesNumbersThatLeadOutOfTheFile) {
    for (const size_t place : {0u, 2u, 3u, 4u, 7u, 8u, 9u, 10u})
        EXPECT_FALSE(isSoundCatalog(damaged(place, 0xfffffff0))) << place;
    EXPECT_FALSE(isSoundCatalog(damaged(2, 0))) << "no text at all";
    EXPECT_FALSE(isSoundCatalog(damaged(7, 7))) << "the first text is not the header's";
    EXPECT_FALSE(isSoundCatalog(damaged(9, 5))) << "the text does not end where it says";
}
