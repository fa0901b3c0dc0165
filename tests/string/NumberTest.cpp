#include "string/Number.h"

#include <climits>
#include <limits>
#include <new>
#include <type_traits>
#include <vector>

#include "string/Encoding.h"
#include "string/LocaleScope.h"
#include "support/FailingAllocation.h"
#include "support/Twins.h"

namespace {

template <typename Char>
struct Grouping : std::numpunct<Char> {
    Char do_decimal_point() const override { return ','; }
    Char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

// Every test runs under a locale that groups digits and has a decimal comma.
struct NumberTest : testing::Test {
    ~NumberTest() override { std::locale::global(before); }

    const std::locale grouping{std::locale(std::locale(), new Grouping<char>), new Grouping<wchar_t>};
    const std::locale before = std::locale::global(grouping);
};

template <typename Parse, typename T>
void ExpectParsed(Parse parse, T value, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) EXPECT_TRUE(parse(text) == value && parse(Wide(text)) == value) << text;
}

void ExpectPrinted(const std::string& text, const std::string& narrow, const std::vector<std::wstring>& wides) {
    EXPECT_EQ(narrow, text);
    for (const std::wstring& wide : wides) EXPECT_EQ(wide, Wide(text));
}

std::string OneBeyond(std::string limit) {
    return ++limit.back(), limit;  // none ends in 9
}

template <typename Parse, typename T = std::invoke_result_t<Parse, std::string>>
void ExpectWholeParsed(Parse parse) {
    constexpr T kMin = std::numeric_limits<T>::min(), kMax = std::numeric_limits<T>::max();
    const std::string most = std::to_string(kMax), minus = "-";
    ExpectParsed(parse, T{0}, {"", "abc", "-", "0x10", "- 1"});
    ExpectParsed(parse, T{42}, {" \t\n42xyz", "+42", "042", "42.000", "42,000"});
    ExpectParsed(parse, kMin, {std::to_string(kMin)});
    ExpectParsed(parse, static_cast<T>(-kMax), {minus + most});  // 1 without a sign
    ExpectParsed(parse, kMax, {most, OneBeyond(most), most + "0"});
    ExpectParsed(parse, kMin < 0 ? kMin : kMax, {minus + OneBeyond(OneBeyond(most)), minus + most + "0"});
}

TEST_F(NumberTest, ParsesWholeNumbersUpToTheLimits) {
    ExpectWholeParsed([](auto text) { return KX::StringToInt(text); });
    ExpectWholeParsed([](auto text) { return KX::StringToLong(text); });
    ExpectWholeParsed([](auto text) { return KX::StringToUlong(text); });
    ExpectWholeParsed([](auto text) { return KX::StringToSizet(text); });
    ExpectWholeParsed([](auto text) { return KX::StringToUint(text); });
    ExpectWholeParsed([](auto text) { return KX::StringToUint32(text); });
    ExpectWholeParsed([](auto text) { return KX::StringToUint64(text); });
}

TEST_F(NumberTest, ParsesRealNumbersAndTruthValues) {
    const auto toFloat = [](auto text) { return KX::StringToFloat(text); };
    const auto toDouble = [](auto text) { return KX::StringToDouble(text); };
    for (const auto& [text, value] :
         {std::pair{"1.5,5", 1.5}, {"-1,5", -1.0}, {" 1e3x", 1e3}, {"", 0.0}, {"x", 0.0}, {"0.1", 0.1}}) {
        ExpectParsed(toFloat, static_cast<float>(value), {text});
        ExpectParsed(toDouble, value, {text});
    }
    ExpectParsed(toFloat, std::numeric_limits<float>::max(), {"3.40282347e+38"});
    ExpectParsed(toDouble, std::numeric_limits<double>::max(), {"1.7976931348623157e308"});

    const auto word = [](auto text) { return KX::StringToBool(text); };
    ExpectParsed(word, true, {"TRUE", "true", "1", "2", " 1", "-1", "1x", "0000001"});
    ExpectParsed(word, false, {"False", "0", "yes", "", " true", "truer", "00000001", "99999999999"});
    ExpectParsed([&](auto text) { return KX::StringToValue<bool>(text, before); }, true, {"9999999999999999999"});
}

template <typename T>
void ExpectWholePrinted(std::string (*narrow)(T), const std::vector<std::wstring (*)(T)>& wides) {
    for (const T value : {static_cast<T>(-7), std::numeric_limits<T>::min(), std::numeric_limits<T>::max()})
        for (const auto wide : wides) ExpectPrinted(std::to_string(value), narrow(value), {wide(value)});
}

TEST_F(NumberTest, PrintsWholeNumbersAndTruthValues) {
    ExpectWholePrinted<int>(KX::IntToString, {KX::IntToWstring, KX::IntToTstring});
    ExpectWholePrinted<long>(KX::LongToString, {KX::LongToWstring, KX::LongToTstring});
    ExpectWholePrinted<unsigned int>(KX::UintToString, {KX::UintToWstring});
    ExpectWholePrinted<unsigned long>(KX::UlongToString, {KX::UlongToWstring, KX::UlongToTstring});
    ExpectWholePrinted<std::size_t>(KX::SizetToString, {KX::SizetToWstring, KX::SizetToTstring});
    ExpectWholePrinted<long long>(KX::Int64tToString, {KX::Int64tToWstring});
    ExpectWholePrinted<unsigned long long>(KX::Uint64tToString, {KX::Uint64tToWstring});
    ExpectPrinted("true", KX::BoolToString(true), {KX::BoolToWstring(true), KX::BoolToTstring(true)});
    ExpectPrinted("false", KX::BoolToString(false), {KX::BoolToWstring(false), KX::BoolToTstring(false)});
}

TEST_F(NumberTest, PadsInFrontOfTheMinusAndFollowsTheLocaleGiven) {
    const auto expect = [](const char* text, long n, unsigned long width) {
        ExpectPrinted(text, KX::LongToString(n, width), {KX::LongToWstring(n, width), KX::LongToTstring(n, width)});
    };
    expect("00042", 42, 5);
    expect("123456", 123456, 3);
    expect("00-5", -5, 4);
    expect("07", 0x300000007, 0x300000002);  // the upper bits are cut off

    ExpectParsed([&](auto text) { return KX::StringToValue<double>(text, grouping); }, 1234.5, {"1.234,5"});
    ExpectPrinted("-1.234.567", KX::ValueToString(-1234567LL, grouping), {KX::ValueToWstring(-1234567LL, grouping)});
    ExpectPrinted("00-1.234", KX::ValueToString(-1234, 8, grouping), {KX::ValueToWstring(-1234, 8, grouping)});
}

TEST_F(NumberTest, PrintsSignificantDigits) {
    const auto expect = [](const char* text, double x, int n) {
        ExpectPrinted(text, KX::DoubleToString(x, n), {KX::DoubleToWstring(x, n), KX::DoubleToTstring(x, n)});
    };
    expect("0.5", 0.5, 6);
    expect("1.23e+06", 1234567.0, 3);
    expect("33.333333333333336", 100.0 / 3, 17);
    expect("33.3333", 100.0 / 3, -1);
    expect("1e+300", 1e300, 6);
    expect("-0", -0.0, 3);
    expect("-12.5", -12.5, INT_MAX);
    const float x = 1 / 3.0F;
    ExpectPrinted("0.333", KX::FloatToString(x, 3), {KX::FloatToWstring(x, 3), KX::FloatToTstring(x, 3)});
}

TEST_F(NumberTest, FormatsTextOfAnyLengthOrNone) {
    for (const std::size_t length : {3U, 99U, 100U, 101U, 150U, 199U, 200U, 201U, 5000U}) {
        std::string text = "7-";
        while (text.size() < length) text += static_cast<char>('a' + text.size() % 23);
        ExpectPrinted(text, KX::StringFormat("%d-%s", 7, &text[2]), {KX::StringFormat(L"%d-%s", 7, &text[2])});
    }
    const KX::CLocaleScope scope(KX::kTextLocale);
    EXPECT_EQ(KX::StringFormat("%ls", L"\u6587"), "\xE6\x96\x87");
    EXPECT_EQ(KX::StringFormat("%ls", L"\xD800"), "");
    EXPECT_EQ(KX::StringFormat(L"%s", "\xFF"), L"");
    EXPECT_EQ(KX::StringFormat(std::string("%2147483648d").c_str(), 1), "");  // out of the compiler's sight
}

TEST_F(NumberTest, ShortMemoryIsToldAndNoNumberIsCut) {
    std::size_t allowed = 0;
    for (bool isRefused = true; isRefused; ++allowed) {
        try {
            const CFailingAllocation failing(allowed, 0, 1);  // what follows has memory again
            isRefused = KX::StringToInt(KX::IntToWstring(123'456)) != 123'456;
            ASSERT_FALSE(isRefused);
        } catch (const std::bad_alloc&) {
        }
    }
    EXPECT_GT(allowed, 2U);
}

}  // namespace
