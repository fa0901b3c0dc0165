#include "string/Text.h"

#include <gtest/gtest.h>

#include <clocale>

#include "string/Encoding.h"

// Wide text: the replayed inputs of the fuzz target path_text hold each wide function to its narrow twin.
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

TEST(TextTest, CondensesReplacesAndRemoves) {
    EXPECT_EQ(KX::CondenseWhiteSpace(std::string("a   b \t \n\n")), "a b \t \n\n");
    EXPECT_EQ(KX::RemoveSpecificChar(std::string("-a--b-"), '-'), "ab");
    struct Case {
        std::string text, from, to, all, first;
    };
    for (const auto& [text, from, to, all, first] :
         {Case{"aaa", "a", "aa", "aaaaaa", "aaaa"}, Case{"abcab", "ab", "", "c", "cab"},
          Case{"abc", "x", "y", "abc", "abc"}, Case{"abc", "", "x", "abc", "xabc"}}) {
        EXPECT_EQ(KX::ReplaceString(text, from, to, false), all);
        EXPECT_EQ(KX::ReplaceString(text, from, to, true), first);
    }
}

TEST(TextTest, TrimsQuotesAndMakesIdentifiers) {
    for (const auto& [text, trimmed] :
         {std::pair{L"\tx\n", L"x"}, {L"   ", L""}, {L" a b\r", L"a b"}, {L"\v", L"\v"}}) {
        EXPECT_EQ(KX::Trim(text), trimmed);
    }
    EXPECT_EQ(KX::GetQuoteString(std::string("a\"b")), "\"a\"b\"");
    EXPECT_TRUE(KX::StringStartsWith(std::string("abc"), "ab") && !KX::StringStartsWith(std::string("ab"), "abc"));
    EXPECT_TRUE(KX::StringEndsWith(std::string("abc"), "") && !KX::StringEndsWith(std::string("abc"), "ab"));
    EXPECT_EQ(KX::RemoveNonAlphanumericCharacter(L"a-b c.d_9\u00E9\u6587\u3002"), L"a_b_c_d_9\u00E9\u6587_");
}

}  // namespace
