#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "pellium/resources/localization/LocaleNames.h"

namespace pellium {
namespace {

TEST(LocaleNames, NormalizesSpellingAndRefusesWhatIsNoLocale) {
    struct Case {
        const char* text;
        const char* normal;  // nullptr: refused
    };
    const Case cases[] = {
        {"en_US", "en_US"},
        {"EN-us", "en_US"},
        {"  ar_sa \t", "ar_SA"},
        {"ar", "ar"},
        {"zh-hant-tw", "zh_Hant_TW"},
        {"sr_LATN", "sr_Latn"},
        {"es_419", "es_419"},
        {"en_US_POSIX", "en_US_POSIX"},
        {"ca_ES_valencia", "ca_ES_valencia"},
        {"fil_PH", "fil_PH"},
        {"", nullptr},
        {"   ", nullptr},
        {"e", nullptr},
        {"engl_US", nullptr},
        {"en__US", nullptr},
        {"en_US_", nullptr},
        {"_US", nullptr},
        {"en|US", nullptr},
        {"en_US.UTF-8", nullptr},
        {"en_ABCDEFGHI", nullptr},
        {"../../etc", nullptr},
        {"1e_US", nullptr},
        {"en_US_aaaaaaaa_bbbbbbbb_cccccccc_dddddddd_eeeeeeee_ffffffff_gggggg", nullptr},  // longer than 64
    };
    for (const auto& testCase : cases) {
        const auto normal = LocaleNames::normalize(testCase.text);
        if (testCase.normal == nullptr) {
            EXPECT_FALSE(normal.has_value()) << testCase.text;
        } else {
            ASSERT_TRUE(normal.has_value()) << testCase.text;
            EXPECT_EQ(*normal, testCase.normal) << testCase.text;
            EXPECT_TRUE(LocaleNames::isNormalized(*normal)) << testCase.text;
        }
    }
}

TEST(LocaleNames, FallbackChainRunsFromSpecificToEnUs) {
    struct Case {
        const char* locale;
        std::vector<std::string> chain;
    };
    const Case cases[] = {
        {"ar_SA", {"ar_SA", "ar", "en_US"}},
        {"ar", {"ar", "en_US"}},
        {"en_US", {"en_US", "en"}},
        {"en_GB", {"en_GB", "en", "en_US"}},
        {"en", {"en", "en_US"}},
        {"sr_Latn_RS", {"sr_Latn_RS", "sr_Latn", "sr", "en_US"}},
        {"de-at", {"de_AT", "de", "en_US"}},
        {"not a locale", {"en_US"}},
        {"", {"en_US"}},
    };
    for (const auto& testCase : cases) {
        EXPECT_EQ(LocaleNames::getFallbackChain(testCase.locale), testCase.chain) << testCase.locale;
    }
}

TEST(LocaleNames, RightToLeftFollowsTheScriptFirstThenTheLanguage) {
    const char* const rightToLeft[] = {
        "ar",    "ar_SA", "AR-eg",  "he", "he_IL", "iw",  "iw_IL", "fa_IR",   "ur_PK",      "yi",         "ji",
        "ps_AF", "dv_MV", "ckb_IQ", "sd", "ug_CN", "syr", "nqo",   "az_Arab", "pa_Arab_PK", "uz_Arab_AF", "ks"};
    const char* const leftToRight[] = {"en_US", "de_DE",      "fr",      "ja_JP",   "zh_Hant_TW",
                                       "tr_TR", "sd_Deva_IN", "ug_Latn", "ks_Deva", "ku",
                                       "arn",   "hr_HR",      "",        "ar|SA",   "xx"};
    for (const char* locale : rightToLeft) {
        EXPECT_TRUE(LocaleNames::isRightToLeft(locale)) << locale;
    }
    for (const char* locale : leftToRight) {
        EXPECT_FALSE(LocaleNames::isRightToLeft(locale)) << locale;
    }
}

TEST(LocaleNames, LanguageIsTheFirstPartInLowerCase) {
    EXPECT_EQ(LocaleNames::getLanguage("AR_sa"), "ar");
    EXPECT_EQ(LocaleNames::getLanguage("zh_Hant_TW"), "zh");
    EXPECT_EQ(LocaleNames::getLanguage("no locale"), "");
}

}  // namespace
}  // namespace pellium
