#include "string/Encoding.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <thread>
#include <vector>

namespace {

// The conversions as they are defined: under a switch of the process's locale.
template <typename Convert>
auto UnderProcessLocale(const std::string& name, Convert convert) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, name.c_str());
    auto converted = convert();
    std::setlocale(LC_ALL, before.c_str());
    return converted;
}

std::string NarrowBySwitch(const std::wstring& text, const std::string& name) {
    return UnderProcessLocale(name, [&] {
        std::string buffer(text.size() * 4 + 4, '\0');
        (void)std::wcstombs(buffer.data(), text.c_str(), buffer.size() - 1);
        return buffer.substr(0, buffer.find('\0'));
    });
}

std::wstring WideBySwitch(const std::string& text, const std::string& name) {
    return UnderProcessLocale(name, [&] {
        std::wstring buffer(text.size() + 1, L'\0');
        (void)std::mbstowcs(buffer.data(), text.c_str(), buffer.size());
        return buffer.substr(0, buffer.find(L'\0'));
    });
}

// A name that leaves one category to the environment.
std::string HalfOpenName() {
    std::string name = "LC_CTYPE=";
    for (const char* const category : {"NUMERIC", "TIME", "COLLATE", "MONETARY", "MESSAGES", "PAPER", "NAME", "ADDRESS",
                                       "TELEPHONE", "MEASUREMENT", "IDENTIFICATION"}) {
        name.append(";LC_").append(category).append("=C");
    }
    return name;
}

// A name as setlocale reports it where the categories differ.
std::string MixedName() {
    return UnderProcessLocale("C", [] {
        std::setlocale(LC_CTYPE, KX::kTextLocale);
        return std::string(std::setlocale(LC_ALL, nullptr));
    });
}

const std::wstring kCjk = L"/\u6587\u4EF6/\u8CC7\u6599\U0001F600.tmp";
const std::string kCjkUtf8 = "/\xE6\x96\x87\xE4\xBB\xB6/\xE8\xB3\x87\xE6\x96\x99\xF0\x9F\x98\x80.tmp";

class EncodingTest : public testing::Test {
protected:
    EncodingTest() { std::setlocale(LC_ALL, "C"); }
    ~EncodingTest() override {
        ::unsetenv("LC_ALL");
        std::setlocale(LC_ALL, "C");
    }
};

TEST_F(EncodingTest, ConvertsAsUnderASwitchOfTheProcessLocaleWhichStays) {
    const std::vector<std::string> names = {KX::kTextLocale, "C",    "POSIX",     "C.UTF-8",     "",
                                            "no_SUCH.x",     "\xFF", MixedName(), HalfOpenName()};
    const std::vector<std::wstring> wides = {
        L"", L"plain", kCjk, L"cut\xD800 here", L"cut\x110000 here", std::wstring(L"cut\0here", 8), L"\U0001F600"};
    const std::vector<std::string> narrows = {
        "", "plain", kCjkUtf8, "cut\xFFhere", "cut\xE6\x96", std::string("cut\0here", 8), "\xF0\x9F\x98\x80"};

    for (const char* const processLocale : {"C", "C.UTF-8"}) {
        ASSERT_NE(std::setlocale(LC_ALL, processLocale), nullptr);
        for (const char* const environment : {"C", KX::kTextLocale}) {
            ::setenv("LC_ALL", environment, 1);
            for (const std::string& name : names) {
                SCOPED_TRACE(std::string(processLocale) + " in force, environment " + environment + ", named " + name);
                for (const auto& text : wides) EXPECT_EQ(KX::ConvertToString(text, name), NarrowBySwitch(text, name));
                for (const auto& text : narrows) EXPECT_EQ(KX::ConvertToWstring(text, name), WideBySwitch(text, name));
            }
        }
        EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), processLocale);
    }
}

// Guards the comparison above against a text locale that is missing, where both sides would agree on nothing.
TEST_F(EncodingTest, TheTextLocaleConvertsWholePathsBothWays) {
    EXPECT_EQ(KX::ConvertToString(kCjk), kCjkUtf8);
    EXPECT_EQ(KX::ConvertToWstring(kCjkUtf8), kCjk);
    EXPECT_EQ(KX::ConvertToTstring(kCjkUtf8, std::locale::classic()), kCjk);
    EXPECT_EQ(KX::ConvertToTstring(kCjk, std::locale::classic()), kCjk);
    EXPECT_EQ(KX::ConvertToString(kCjkUtf8), kCjkUtf8);
    EXPECT_EQ(KX::ConvertToWstring(kCjk), kCjk);
}

TEST_F(EncodingTest, EightThreadsUnderDifferentLocalesAtOnce) {
    const auto convert = [](bool isText) {
        for (int round = 0; round < 2000; ++round) {
            const std::string name = isText ? KX::kTextLocale : "C";
            ASSERT_EQ(KX::ConvertToString(kCjk, name), isText ? kCjkUtf8 : "/");
            ASSERT_EQ(KX::ConvertToWstring(kCjkUtf8, name), isText ? kCjk : L"/");
        }
    };
    std::vector<std::jthread> threads;
    threads.reserve(8);
    for (int index = 0; index < 8; ++index) threads.emplace_back(convert, index % 2 == 0);
}

TEST_F(EncodingTest, TheUtf8FunctionsGiveNothingAndSizesEndAtTheFirstNul) {
    EXPECT_EQ(KX::ConvertWstringToUTF8(L"abc"), "");
    EXPECT_EQ(KX::ConvertUTF8ToWstring("abc"), L"");
    EXPECT_EQ(KX::ConvertStringToUTF8("abc"), "");
    EXPECT_EQ(KX::ConvertUTF8ToString("abc"), "");
    EXPECT_EQ(KX::StringBufferSizeInBytes(std::string("a\0b", 3)), 1U);
    EXPECT_EQ(KX::StringBufferSizeInBytes(std::wstring(L"ab")), 8U);
}

}  // namespace
