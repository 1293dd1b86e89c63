#pragma once

#include "safeprogress.h"

namespace test {

/// Shows nobody anything.
class NoProgress : public ISafeProgress {
public:
    void start(const wxString&, const wxString&, int32_t) override {}
    void update(int32_t, const wxString&) override {}
    void finish() override {}
};

} // namespace test
