#include "complaint.h"

#include <cstdio>

void complain(const char* text) noexcept {
    // Texts of OpenCV carry line breaks.
    std::fputs("Doriq: ", stderr);
    for (; *text; ++text)
        if (*text != '\n')
            std::fputc(*text, stderr);
        else if (text[1])
            std::fputc(' ', stderr);
    std::fputc('\n', stderr);
}
