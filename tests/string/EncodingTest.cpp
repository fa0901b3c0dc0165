#include "string/Encoding.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <thread>
#include <vector>

namespace {

// The conversions as they are defined: by the C library under a switch of the process's locale.
template <typename To, typename From>
std::basic_string<To> BySwitch(std::size_t (*convert)(To*, const From*, std::size_t),
                               const std::basic_string<From>& text, const std::string& name) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, name.c_str());
    std::basic_string<To> buffer(text.size() * 4 + 4, To());
    (void)convert(buffer.data(), text.c_str(), buffer.size() - 1);
    std::setlocale(LC_ALL, before.c_str());
    return buffer.substr(0, buffer.find(To()));
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
    std::setlocale(LC_CTYPE, KX::kTextLocale);
    std::string name = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_CTYPE, "C");
    return name;
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
                errno = ENOMEM;  // left behind by something else
                for (const auto& text : wides) {
                    EXPECT_EQ(KX::ConvertToString(text, name), BySwitch(&std::wcstombs, text, name));
                }
                for (const auto& text : narrows) {
                    EXPECT_EQ(KX::ConvertToWstring(text, name), BySwitch(&std::mbstowcs, text, name));
                }
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
    const auto convert = [](const char* name, const std::string& narrow, const std::wstring& wide) {
        for (int round = 0; round < 2000; ++round) {
            ASSERT_EQ(KX::ConvertToString(kCjk, name), narrow);
            ASSERT_EQ(KX::ConvertToWstring(kCjkUtf8, name), wide);
        }
    };
    std::vector<std::thread> threads;
    for (int pair = 0; pair < 4; ++pair) {
        threads.emplace_back(convert, KX::kTextLocale, kCjkUtf8, kCjk);
        threads.emplace_back(convert, "C", "/", L"/");
    }
    for (std::thread& thread : threads) thread.join();
}

}  // namespace
