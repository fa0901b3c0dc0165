#pragma once

#include <gtest/gtest.h>

#include <string>

inline std::wstring Wide(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

// That a function of narrow text and its twin of wide text have that result.
template <typename Function, typename... Texts>
void ExpectTwins(Function function, const std::string& expected, const Texts&... texts) {
    EXPECT_EQ(function(std::string(texts)...), expected);
    EXPECT_EQ(function(Wide(texts)...), Wide(expected));
}
