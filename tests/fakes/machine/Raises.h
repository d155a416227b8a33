#pragma once

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "Common/ResultException.h"

namespace orbis::fakes {

// `use` ends with a native failure that has this place and result.
template <class Use>
void ExpectRaises(Use&& use, const std::string& unit, std::int32_t line, platform::Hresult result)
{
    SCOPED_TRACE(unit + " " + std::to_string(line));
    try {
        use();
        ADD_FAILURE() << "nothing was raised";
    } catch (const Veyra::Orbis::Cpp::Common::ResultException& failure) {
        EXPECT_EQ(failure.Unit(), unit);
        EXPECT_EQ(failure.Line(), line);
        EXPECT_EQ(failure.Result(), result) << failure.what();
    }
}

}  // namespace orbis::fakes
