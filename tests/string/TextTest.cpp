#include "string/Text.h"

#include <gtest/gtest.h>

#include <clocale>

#include "string/Encoding.h"

// What replaces, removes, quotes and compares is held to its definition, narrow and wide, by the fuzz target path_text,
// whose inputs are replayed.
namespace {

TEST(TextTest, CaseFollowsTheLocaleForOneCall) {
    const std::locale& classic = std::locale::classic();
    EXPECT_EQ(KX::MakeStringUpper(std::string("aZ9\xE9"), classic), "AZ9\xE9");
    EXPECT_EQ(KX::MakeStringLower(std::string("Ab\0Cd", 5), classic), "ab");
    EXPECT_EQ(KX::MakeStringUpper(std::wstring(L"aZ\u00E9"), classic), L"AZ\u00C9");

    const std::locale text(KX::kTextLocale);
    EXPECT_EQ(KX::MakeStringUpper(std::wstring(L"\u00E9"), text), L"\u00C9");
    EXPECT_EQ(KX::MakeStringLower(std::wstring(L"\u00C9"), text), L"\u00E9");
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
    EXPECT_EQ(std::locale(), classic);
}

TEST(TextTest, TrimsAndMakesIdentifiers) {
    for (const auto& [text, trimmed] :
         {std::pair{L"\tx\n", L"x"}, {L"   ", L""}, {L" a b\r", L"a b"}, {L"\v", L"\v"}}) {
        EXPECT_EQ(KX::Trim(text), trimmed);
    }
    EXPECT_EQ(KX::RemoveNonAlphanumericCharacter(L"a-b c.d_9\u00E9\u6587\u3002"), L"a_b_c_d_9\u00E9\u6587_");
}

}  // namespace
