#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "pellium/resources/localization/LocalizationContext.h"
#include "pellium/resources/localization/ResourceManager.h"

namespace pellium {
namespace {

const std::string ARABIC_MISSING = "(\xD9\x85\xD9\x81\xD9\x82\xD9\x88\xD8\xAF)";  // "(مفقود)"
const std::string ARABIC_JANUARY = "\xD9\x8A\xD9\x86\xD8\xA7\xD9\x8A\xD8\xB1";    // "يناير"

class LocalizationContextTest : public ::testing::Test {
protected:
    void TearDown() override { ResourceManager::instance().resetBundles(); }
};

TEST_F(LocalizationContextTest, DefaultsToEnUsInUtcWithFormatAndDataLocaleFollowingTheLocale) {
    const auto context = LocalizationContext::create();
    EXPECT_EQ(context->getLocale(), "en_US");
    EXPECT_EQ(context->getFormatLocale(), "en_US");
    EXPECT_EQ(context->getDataLocale(), "en_US");
    EXPECT_EQ(context->getTimeZoneId(), "UTC");
    EXPECT_FALSE(context->isFrozen());
    EXPECT_FALSE(context->isFormatLocaleRTL());

    ASSERT_TRUE(context->setLocale("ar-sa"));
    EXPECT_EQ(context->getLocale(), "ar_SA");
    EXPECT_EQ(context->getFormatLocale(), "ar_SA");
    EXPECT_EQ(context->getDataLocale(), "ar_SA");
    EXPECT_TRUE(context->isFormatLocaleRTL());

    // Once set, the format locale stays when the locale moves; an empty text makes it follow again.
    ASSERT_TRUE(context->setFormatLocale("en_GB"));
    ASSERT_TRUE(context->setLocale("he_IL"));
    EXPECT_EQ(context->getFormatLocale(), "en_GB");
    EXPECT_FALSE(context->isFormatLocaleRTL());
    EXPECT_TRUE(context->isLocaleRTL());
    ASSERT_TRUE(context->setFormatLocale(""));
    EXPECT_EQ(context->getFormatLocale(), "he_IL");
    EXPECT_TRUE(context->isFormatLocaleRTL());
}

TEST_F(LocalizationContextTest, CreateRefusesWhatIsNoLocale) {
    EXPECT_EQ(LocalizationContext::create(std::string_view("en US!")), nullptr);
    EXPECT_EQ(LocalizationContext::create(std::string_view("")), nullptr);
    EXPECT_EQ(LocalizationContext::create(SharedString()), nullptr);
    const auto context = LocalizationContext::create(std::make_shared<const std::string>("iw_IL"));
    ASSERT_NE(context, nullptr);
    EXPECT_TRUE(context->isFormatLocaleRTL());
}

TEST_F(LocalizationContextTest, SettersRefuseMalformedTextsAndChangeNothing) {
    const auto context = LocalizationContext::create("de_DE");
    const std::string key = context->getFormatterCacheKey();
    EXPECT_FALSE(context->setLocale("d"));
    EXPECT_FALSE(context->setFormatLocale("de|DE"));
    EXPECT_FALSE(context->setDataLocale("de_DE.UTF-8"));
    EXPECT_FALSE(context->setTimeZoneId(""));
    EXPECT_FALSE(context->setTimeZoneId("Europe/Berlin|UTC"));
    EXPECT_FALSE(context->setTimeZoneId(std::string(65, 'A')));
    EXPECT_EQ(context->getFormatterCacheKey(), key);
    EXPECT_TRUE(context->setTimeZoneId("America/Argentina/Buenos_Aires"));
    EXPECT_TRUE(context->setTimeZoneId("Etc/GMT+5"));
}

TEST_F(LocalizationContextTest, FrozenContextRefusesEveryChangeButItsMutableCopyAcceptsThem) {
    const auto context = LocalizationContext::create("ar_SA");
    ASSERT_TRUE(context->setTimeZoneId("Asia/Riyadh"));
    context->freeze();
    const std::string key = context->getFormatterCacheKey();

    EXPECT_FALSE(context->setLocale("en_US"));
    EXPECT_FALSE(context->setFormatLocale("en_US"));
    EXPECT_FALSE(context->setDataLocale("en_US"));
    EXPECT_FALSE(context->setFormatLocale(""));
    EXPECT_FALSE(context->setTimeZoneId("UTC"));
    EXPECT_EQ(context->getLocale(), "ar_SA");
    EXPECT_EQ(context->getTimeZoneId(), "Asia/Riyadh");
    EXPECT_EQ(context->getFormatterCacheKey(), key);
    EXPECT_TRUE(context->isFrozen());

    const auto copy = context->getMutableCopy();
    EXPECT_FALSE(copy->isFrozen());
    EXPECT_EQ(copy->getFormatterCacheKey(), key);
    EXPECT_TRUE(copy->setDataLocale("de_DE"));
    EXPECT_EQ(copy->getDataLocale(), "de_DE");
    EXPECT_EQ(context->getDataLocale(), "ar_SA");
}

TEST_F(LocalizationContextTest, CacheKeyDiffersExactlyWhenSomethingThatFormatsDiffers) {
    const auto base = LocalizationContext::create("en_US");
    auto withFormat = base->getMutableCopy();
    ASSERT_TRUE(withFormat->setFormatLocale("ar_SA"));
    auto withData = base->getMutableCopy();
    ASSERT_TRUE(withData->setDataLocale("de_DE"));
    auto withZone = base->getMutableCopy();
    ASSERT_TRUE(withZone->setTimeZoneId("Europe/Berlin"));
    auto withLocale = base->getMutableCopy();
    ASSERT_TRUE(withLocale->setLocale("fr_FR"));
    ASSERT_TRUE(withLocale->setFormatLocale("en_US"));
    ASSERT_TRUE(withLocale->setDataLocale("en_US"));

    const std::vector<std::string> keys = {base->getFormatterCacheKey(), withFormat->getFormatterCacheKey(),
                                           withData->getFormatterCacheKey(), withZone->getFormatterCacheKey(),
                                           withLocale->getFormatterCacheKey()};
    for (std::size_t left = 0; left < keys.size(); ++left) {
        for (std::size_t right = left + 1; right < keys.size(); ++right) {
            EXPECT_NE(keys[left], keys[right]) << left << " " << right;
        }
    }
    // The same settings reached by different roads give the same key.
    const auto sameAsBase = LocalizationContext::create("EN-us");
    EXPECT_EQ(sameAsBase->getFormatterCacheKey(), base->getFormatterCacheKey());
    auto movedBack = withFormat->getMutableCopy();
    ASSERT_TRUE(movedBack->setFormatLocale("en_US"));
    EXPECT_EQ(movedBack->getFormatterCacheKey(), base->getFormatterCacheKey());
}

TEST_F(LocalizationContextTest, MessagesFollowTheLocaleAndVocabularyTheFormatLocale) {
    auto context = LocalizationContext::create("ar_SA");
    ASSERT_TRUE(context->setFormatLocale("en_US"));
    ASSERT_NE(context->getString("vek_pellium", "missingValue.txt"), nullptr);
    EXPECT_EQ(*context->getString("vek_pellium", "missingValue.txt"), ARABIC_MISSING);
    EXPECT_EQ(*context->getFormatString("vek_portable_formatters", "month.wide.1"), "January");

    ASSERT_TRUE(context->setFormatLocale("ar_EG"));
    EXPECT_EQ(*context->getFormatString("vek_portable_formatters", "month.wide.1"), ARABIC_JANUARY);
    // A key only en_US has is found from ar_EG through ar.
    EXPECT_EQ(*context->getFormatString("vek_portable_formatters", "hebdate.1"), "d MMMM yyyy");

    EXPECT_EQ(context->getString("vek_pellium", "no.such.key"), nullptr);
    EXPECT_EQ(context->getString("no_such_bundle", "missingValue.txt"), nullptr);
    EXPECT_EQ(context->getString("../vek_pellium", "missingValue.txt"), nullptr);
}

TEST_F(LocalizationContextTest, DataLocaleChoosesTheCurrency) {
    auto context = LocalizationContext::create("en_US");
    ASSERT_TRUE(context->setDataLocale("de_DE"));
    EXPECT_EQ(*context->getDataString("AllCurrencySymbols", "currencyCode." + context->getDataLocale()), "EUR");
}

TEST_F(LocalizationContextTest, FormattedStringsReplaceNumberedPlaceholdersOnly) {
    const auto context = LocalizationContext::create("en_US");
    EXPECT_EQ(*context->getFormattedString("vek_pellium", "COLUMN_DUPLICATE_NAME.txt", {"Sales"}),
              "Duplicate column with name: 'Sales'");
    EXPECT_EQ(*context->getFormattedString("vek_pellium", "DATASET_NONRECTANGULAR.txt",
                                           std::vector<std::string>{"10", "2", "9"}),
              "DataSet has 10 rows but column at position 2 has 9 values");
    EXPECT_EQ(context->getFormattedString("vek_pellium", "no.such.key", {"x"}), nullptr);

    struct Case {
        const char* pattern;
        const char* expected;
    };
    const Case cases[] = {
        {"{0}-{1}", "a-b"}, {"{1}{0}{1}", "bab"}, {"{2}", "{2}"},
        {"{x}", "{x}"},     {"{", "{"},           {"}{0", "}{0"},
        {"{{0}}", "{a}"},   {"'{0}'", "'a'"},     {"{99999999999999}", "{99999999999999}"},
        {"", ""},
    };
    for (const auto& testCase : cases) {
        EXPECT_EQ(LocalizationContext::substituteArguments(testCase.pattern, {"a", "b"}), testCase.expected)
            << testCase.pattern;
    }
}

}  // namespace
}  // namespace pellium
