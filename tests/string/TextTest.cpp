#include "string/Text.h"

#include <gtest/gtest.h>

#include <clocale>

#include "string/Encoding.h"

namespace {

std::wstring Wide(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

TEST(TextTest, CaseFollowsTheLocaleForOneCall) {
    const std::locale& classic = std::locale::classic();
    EXPECT_EQ(KX::MakeStringUpper(std::string("aZ9\xE9"), classic), "AZ9\xE9");
    EXPECT_EQ(KX::MakeStringLower(std::string("aZ9\xC9"), classic), "az9\xC9");
    EXPECT_EQ(KX::MakeStringUpper(std::wstring(L"aZ\u00E9"), classic), L"AZ\u00E9");
    EXPECT_EQ(KX::MakeStringLower(std::string("Ab\0Cd", 5), classic), "ab");
    EXPECT_EQ(KX::MakeStringLower(std::wstring(), classic), L"");

    const std::locale text(KX::kTextLocale);
    EXPECT_EQ(KX::MakeStringUpper(std::wstring(L"\u00E9"), text), L"\u00C9");
    EXPECT_EQ(KX::MakeStringLower(std::wstring(L"\u00C9"), text), L"\u00E9");
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
    EXPECT_EQ(std::locale(), classic);
}

TEST(TextTest, CondensesBlanksAlone) {
    for (const auto& [text, condensed] :
         {std::pair{"", ""}, {"a   b", "a b"}, {" \t ", " \t "}, {"  ", " "}, {" a\n\n", " a\n\n"}}) {
        EXPECT_EQ(KX::CondenseWhiteSpace(std::string(text)), condensed);
        EXPECT_EQ(KX::CondenseWhiteSpace(Wide(text)), Wide(condensed));
    }
    EXPECT_EQ(KX::RemoveSpecificChar(std::string("-a--b-"), '-'), "ab");
    EXPECT_EQ(KX::RemoveSpecificChar(std::wstring(L"-a--b-"), L'-'), L"ab");
}

TEST(TextTest, ReplacesWithoutSearchingWhatItPutIn) {
    struct Case {
        std::string text, from, to, all, first;
    };
    for (const auto& [text, from, to, all, first] :
         {Case{"aaa", "a", "aa", "aaaaaa", "aaaa"}, Case{"abcab", "ab", "", "c", "cab"},
          Case{"aaa", "aa", "b", "ba", "ba"}, Case{"abc", "x", "y", "abc", "abc"}, Case{"abc", "", "x", "xabc", "xabc"},
          Case{"", "a", "b", "", ""}}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(KX::ReplaceString(text, from, to, false), all);
        EXPECT_EQ(KX::ReplaceString(text, from, to, true), first);
        EXPECT_EQ(KX::ReplaceString(Wide(text), Wide(from), Wide(to), false), Wide(all));
        EXPECT_EQ(KX::ReplaceString(Wide(text), Wide(from), Wide(to), true), Wide(first));
    }
}

TEST(TextTest, StartsAndEnds) {
    struct Case {
        std::string text, part;
        bool starts, ends;
    };
    for (const auto& [text, part, starts, ends] : {Case{"abc", "", true, true}, Case{"ab", "abc", false, false},
                                                   Case{"abc", "ab", true, false}, Case{"abc", "bc", false, true}}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(KX::StringStartsWith(text, part), starts);
        EXPECT_EQ(KX::StringStartsWith(Wide(text), Wide(part)), starts);
        EXPECT_EQ(KX::StringEndsWith(text, part), ends);
        EXPECT_EQ(KX::StringEndsWith(Wide(text), Wide(part)), ends);
    }
}

TEST(TextTest, TrimsQuotesAndMakesIdentifiers) {
    for (const auto& [text, trimmed] :
         {std::pair{L"\tx\n", L"x"}, {L"   ", L""}, {L"", L""}, {L" a b\r", L"a b"}, {L"\v", L"\v"}}) {
        EXPECT_EQ(KX::Trim(text), trimmed);
    }
    EXPECT_EQ(KX::GetQuoteString(std::string("a\"b")), "\"a\"b\"");
    EXPECT_EQ(KX::GetQuoteString(std::wstring()), L"\"\"");
    EXPECT_EQ(KX::RemoveNonAlphanumericCharacter(L"a-b c.d_9\u00E9\u6587\u3002"), L"a_b_c_d_9\u00E9\u6587_");
}

}  // namespace
