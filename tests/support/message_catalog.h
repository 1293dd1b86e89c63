#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace test {

/// Content of a compiled message catalog with these texts and their translations, UTF-8.
inline std::string messageCatalog(std::map<std::string, std::string> texts) {
    constexpr uint32_t kMagic = 0x950412de;
    constexpr uint32_t kHeaderSize = 28;
    constexpr uint32_t kEntrySize = 8;
    texts[""] = "Content-Type: text/plain; charset=UTF-8\nPlural-Forms: nplurals=2; plural=(n != 1);\n";

    const auto count = static_cast<uint32_t>(texts.size());
    std::string numbers;
    const auto add = [&numbers](uint32_t value) {
        for (unsigned shift = 0; shift < 32; shift += 8)
            numbers += static_cast<char>(value >> shift);
    };
    const uint32_t tables = kHeaderSize + 2 * kEntrySize * count;
    for (const uint32_t value :
         {kMagic, uint32_t{0}, count, kHeaderSize, kHeaderSize + kEntrySize * count, uint32_t{0}, tables})
        add(value);
    std::string words;
    const auto addEntry = [&](const std::string& word) {
        add(static_cast<uint32_t>(word.size()));
        add(tables + static_cast<uint32_t>(words.size()));
        words += word + '\0';
    };
    for (const auto& text : texts)
        addEntry(text.first);
    for (const auto& text : texts)
        addEntry(text.second);
    return numbers + words;
}

} // namespace test
