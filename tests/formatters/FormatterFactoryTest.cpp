#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "pellium/formatters/FormatInfo.h"
#include "pellium/formatters/Formatter.h"
#include "pellium/formatters/FormatterFactory.h"
#include "pellium/formatters/MappedFormats.h"
#include "pellium/formatters/VekFormat.h"
#include "pellium/resources/localization/LocalizationContext.h"

namespace pellium {
namespace {

constexpr std::string_view leftToRightMark = "\xE2\x80\x8E";
constexpr std::string_view rightToLeftEmbedding = "\xE2\x80\xAB";
constexpr std::string_view popDirectionalFormatting = "\xE2\x80\xAC";

class FormatterFactoryTest : public ::testing::Test {
protected:
    void SetUp() override {
        factory().clearFormatterCache();
        factory().clearUserDefinedFormatters();
    }
    void TearDown() override { SetUp(); }

    static FormatterFactory& factory() { return *FormatterFactory::instance(); }
    static std::shared_ptr<LocalizationContext> context(std::string_view locale) {
        auto created = LocalizationContext::create(locale);
        EXPECT_TRUE(created) << locale;
        return created;
    }
};

TEST_F(FormatterFactoryTest, NamesDifferingInCaseAreSeparateEntriesOfEqualFormatters) {
    const auto en = context("en_US");
    const auto lower = factory().getFormatter(en, "date9.");
    const auto upper = factory().getFormatter(en, "DATE9.");
    ASSERT_TRUE(lower && upper);
    EXPECT_NE(lower, upper);
    EXPECT_EQ(*lower->getFormatName(), "DATE");
    EXPECT_EQ(*upper->getFormatName(), "DATE");
    EXPECT_EQ(lower->getWidth(), upper->getWidth());
    EXPECT_EQ(*lower->getCanonicalName(), "date9.");
    EXPECT_EQ(factory().getNumberOfCachedFormatters(), 2U);
    EXPECT_EQ(factory().getFormatter(en, "date9."), lower);
}

TEST_F(FormatterFactoryTest, MappedNamesResolveToTheirTargetWithTheRequestedWidth) {
    const auto formatter = factory().getFormatter(context("en_US"), "MMDDYYS10.");
    ASSERT_TRUE(formatter);
    EXPECT_EQ(*formatter->getFormatName(), "MMDDYY");
    EXPECT_EQ(formatter->getWidth(), 10);
    EXPECT_EQ(formatter->getFormatInfo()->getType(), FormatType::Date);
    EXPECT_FALSE(VekFormat::isValidFormat("MMDDYYS10."));
    EXPECT_TRUE(VekFormat::isValidFormat("  mmddyy10.  "));
}

TEST_F(FormatterFactoryTest, UnknownNamesGetTheBaseFormatter) {
    const auto formatter = factory().getFormatter(context("en_US"), "XYZ12.");
    ASSERT_TRUE(formatter);
    EXPECT_EQ(*formatter->format(1.5), "1.5");
    EXPECT_EQ(*formatter->format(std::string("text")), "text");
    EXPECT_TRUE(std::isnan(formatter->parse(std::string("1.5"))));
    EXPECT_TRUE(std::isnan(formatter->parse(SharedString())));
    EXPECT_EQ(formatter->format(SharedString()), nullptr);
    EXPECT_EQ(*formatter->format(-0.0), "-0");
    EXPECT_EQ(*formatter->format(std::nan("")), "NaN");
    EXPECT_EQ(*formatter->format(-HUGE_VAL), "-Infinity");
    const auto texts = formatter->format(std::make_shared<std::vector<double>>(std::vector<double>{1, 0.25}));
    ASSERT_TRUE(texts);
    ASSERT_EQ(texts->size(), 2U);
    EXPECT_EQ(*(*texts)[1], "0.25");
    EXPECT_EQ(formatter->format(std::shared_ptr<std::vector<double>>()), nullptr);
}

TEST_F(FormatterFactoryTest, EmptyAndNullNamesGiveNullAndHostileNamesNeverFail) {
    const auto en = context("en_US");
    EXPECT_EQ(factory().getFormatter(en, std::string_view()), nullptr);
    EXPECT_EQ(factory().getFormatter(en, SharedString()), nullptr);
    EXPECT_EQ(factory().getFormatter(std::shared_ptr<LocalizationContext>(), SharedString()), nullptr);
    EXPECT_EQ(factory().getFormatter(SharedString(), std::make_shared<const std::string>("BEST12.")), nullptr);
    EXPECT_EQ(factory().getFormatterForFormatName(SharedString()), nullptr);
    EXPECT_EQ(factory().getFormatterForFormatName(std::string_view()), nullptr);
    const std::string hostile[] = {std::string(10240, 'x'),
                                   std::string(10240, '9'),
                                   std::string(10240, '.'),
                                   std::string(10240, '_'),
                                   "\xF0\x9F\x98\x80"
                                   "12.2",
                                   "123456789",
                                   "._._.",
                                   "\xff"};
    for (const auto& name : hostile) {
        EXPECT_TRUE(factory().getFormatter(en, name)) << name.substr(0, 20);
        EXPECT_FALSE(VekFormat::isValidFormat(name));
    }
}

TEST_F(FormatterFactoryTest, CacheCountsEachNameOncePerContextKey) {
    const auto en = context("en_US");
    const auto de = context("de_DE");
    const auto alsoEn = context("en_US");
    factory().getFormatter(en, "BEST12.");
    factory().getFormatter(alsoEn, "BEST12.");
    EXPECT_EQ(factory().getNumberOfCachedFormatters(), 1U);
    factory().getFormatter(de, "BEST12.");
    EXPECT_EQ(factory().getNumberOfCachedFormatters(), 2U);
    ASSERT_TRUE(alsoEn->setTimeZoneId("Europe/Berlin"));
    factory().getFormatter(alsoEn, "BEST12.");
    EXPECT_EQ(factory().getNumberOfCachedFormatters(), 3U);
    factory().clearFormatterCache();
    EXPECT_EQ(factory().getNumberOfCachedFormatters(), 0U);
}

TEST_F(FormatterFactoryTest, FormatInfoKeepsAFrozenCopyWithTheLocaleSuffixAsDataLocale) {
    const auto caller = context("en_US");
    const auto info = VekFormat::getFormatInfoForFormatName(caller, "currency_de_DE12.2");
    EXPECT_EQ(*info->getName(), "CURRENCY");
    EXPECT_EQ(info->getWidth(), 12);
    EXPECT_EQ(info->getDecimalWidth(), 2);
    EXPECT_TRUE(info->isDecimalWidthGiven());
    EXPECT_TRUE(info->isLocaleGiven());
    EXPECT_NE(info->getLocalizationContext(), caller);
    EXPECT_TRUE(info->getLocalizationContext()->isFrozen());
    EXPECT_EQ(info->getLocalizationContext()->getDataLocale(), "de_DE");
    EXPECT_EQ(info->getLocalizationContext()->getFormatLocale(), "en_US");
    EXPECT_EQ(caller->getDataLocale(), "en_US");

    const auto plain = VekFormat::getFormatInfoForFormatName(caller, "DATE9.");
    EXPECT_EQ(plain->getDecimalWidth(), -1);
    EXPECT_FALSE(plain->isDecimalWidthGiven());
    EXPECT_FALSE(plain->isLocaleGiven());
}

TEST_F(FormatterFactoryTest, RightToLeftContextsMarkTheSignAndEmbedFinishedTexts) {
    const auto rtl = context("ar_SA");
    ASSERT_TRUE(rtl->isFormatLocaleRTL());
    const auto formatter = factory().getFormatter(rtl, "BEST12.");
    EXPECT_EQ(*formatter->getNegativeSign(), std::string(leftToRightMark) + "-");
    const auto text = std::make_shared<const std::string>("12");
    const auto finished = formatter->finalizeFormattedString(text);
    EXPECT_EQ(*finished, std::string(rightToLeftEmbedding) + "12" + std::string(popDirectionalFormatting));
    EXPECT_EQ(*Formatter::unfinalizeString(finished), "12");
    EXPECT_EQ(Formatter::unfinalizeString(nullptr), nullptr);
    EXPECT_EQ(Formatter::finalizeFormattedString(nullptr, rtl), nullptr);
    const auto empty = std::make_shared<const std::string>();
    EXPECT_EQ(Formatter::finalizeFormattedString(empty, rtl), empty);

    const auto ltr = factory().getFormatter(context("en_US"), "BEST12.");
    EXPECT_EQ(*ltr->getNegativeSign(), "-");
    EXPECT_EQ(ltr->finalizeFormattedString(text), text);
}

TEST_F(FormatterFactoryTest, AmbiguousCurrencyNamesTakeTheLocaleWhenItIsKnown) {
    EXPECT_TRUE(FormatterFactory::isAmbiguousCurrencyFormatName("CURRENCY12.2"));
    EXPECT_TRUE(FormatterFactory::isAmbiguousCurrencyFormatName("CURRENCY"));
    EXPECT_FALSE(FormatterFactory::isAmbiguousCurrencyFormatName("CURRENCY_en_US12.2"));
    EXPECT_FALSE(FormatterFactory::isAmbiguousCurrencyFormatName("CURRENC"));
    EXPECT_FALSE(FormatterFactory::isAmbiguousCurrencyFormatName("DOLLAR12.2"));

    std::string name = "CURRENCY12.2";
    EXPECT_FALSE(FormatterFactory::disambiguateCurrencyFormatName(name, "en"));
    EXPECT_EQ(name, "CURRENCY12.2");
    EXPECT_FALSE(FormatterFactory::disambiguateCurrencyFormatName(name, "xx_XX"));
    EXPECT_EQ(name, "CURRENCY12.2");
    EXPECT_TRUE(FormatterFactory::disambiguateCurrencyFormatName(name, "en_US"));
    EXPECT_EQ(name, "CURRENCY_en_US12.2");
    EXPECT_FALSE(FormatterFactory::disambiguateCurrencyFormatName(name, "en_US"));
    EXPECT_EQ(name, "CURRENCY_en_US12.2");

    EXPECT_EQ(*VekFormat::getLocaleCurrencyFormat(" en_US "), "NLMNLUSD");
    EXPECT_EQ(VekFormat::getLocaleCurrencyFormat("xx_XX"), nullptr);
    EXPECT_EQ(VekFormat::getLocaleCurrencyFormat(SharedString()), nullptr);
}

TEST_F(FormatterFactoryTest, UserDefinedFormatsAreFoundButNeverEvictCachedNames) {
    const auto en = context("en_US");
    const auto before = factory().getFormatter(en, "MYFMT.");
    const auto custom = Formatter::create(VekFormat::getFormatInfoForFormatName(en, "myfmt"));
    factory().addUserDefinedFormatter(custom);
    factory().addUserDefinedFormatter(nullptr);
    EXPECT_EQ(factory().getUserDefinedFormatterForName("MyFmt."), custom);
    EXPECT_EQ(factory().getFormatter(en, "myFMT"), custom);
    EXPECT_EQ(factory().getFormatter(en, "MYFMT."), before);  // cached before the registration

    factory().addUserDefinedFormatter(Formatter::create(VekFormat::getFormatInfoForFormatName(en, "alpha")));
    factory().addUserDefinedFormatter(Formatter::create(VekFormat::getFormatInfoForFormatName(en, "dotted.")));
    const auto names = factory().getUserDefinedFormatNames();
    ASSERT_TRUE(names);
    std::vector<std::string> texts;
    for (const auto& name : *names) {
        texts.push_back(*name);
    }
    EXPECT_EQ(texts, (std::vector<std::string>{"ALPHA", "DOTTED.", "MYFMT"}));
    EXPECT_EQ(factory().getUserDefinedFormatNames(), names);
    EXPECT_EQ(factory().getUserDefinedFormatterForName("DOTTED."), nullptr);  // lookups strip the "."

    factory().clearUserDefinedFormatters();
    EXPECT_EQ(factory().getUserDefinedFormatNames(), nullptr);
    EXPECT_EQ(factory().getFormatter(en, "myFMT"), custom);  // still cached
    factory().clearFormatterCache();
    EXPECT_NE(factory().getFormatter(en, "myFMT"), custom);
}

TEST_F(FormatterFactoryTest, EveryFamilyChoosesItsClass) {
    struct Case {
        std::string_view name;
        std::string_view className;
    };
    const auto en = context("en_US");
    for (const auto& [name, className] : {
             Case{"HEBDATE12.", "HebrewDateFormat"},
             Case{"HDATE.", "HebrewDateFormat"},
             Case{"DATE9.", "VekDateFormat"},
             Case{"MMDDYYS10.", "VekDateFormat"},
             Case{"DATETIME20.", "VekDateTimeFormat"},
             Case{"TOD8.", "VekDateTimeFormat"},
             Case{"TIME8.", "VekTimeFormat"},
             Case{"NLTIME.", "VekTimeFormat"},
             Case{"BEST12.", "BestNumericFormatter"},
             Case{"NLNUM12.", "BestNumericFormatter"},
             Case{"E10.", "ExponentialNumericFormatter"},
             Case{"PVALUE6.4", "PvalueNumericFormatter"},
             Case{"NILPVALUE6.4", "PvalueNumericFormatter"},
             Case{"NLPVALUE6.4", "PvalueNumericFormatter"},
             Case{"CBDOLLAR8.1", "CompactNumericFormatter"},
             Case{"CBNLMNLUSD8.", "CompactNumericFormatter"},
             Case{"NLSTRMON.", "NLSDTLookupFormat"},
             Case{"SIZEKMG8.2", "SizeKMGFormatter"},
             Case{"DOLLAR12.2", "BaseNumericFormatter"},
             Case{"NLMNLGBP12.2", "BaseNumericFormatter"},
             Case{"COMMAX10.", "BaseNumericFormatter"},
             Case{"XYZ12.", ""},
         }) {
        auto info = VekFormat::getFormatInfoForFormatName(en, name);
        info->setType(FormatType::getFormatTypeForFormatName(*info->getName()));
        if (info->getType() == FormatType::NotImplemented) {
            MappedFormats::applyFormatMapping(*info);
        }
        EXPECT_EQ(FormatterFactory::getFormatterClassName(*info), className) << name;
    }
}

TEST_F(FormatterFactoryTest, ConcurrentCallersOfOnePairShareOneFormatter) {
    const std::vector<std::shared_ptr<LocalizationContext>> contexts = {context("en_US"), context("de_DE"),
                                                                        context("ar_SA")};
    std::vector<std::string> names;
    const char* stems[] = {"BEST", "DOLLAR", "DATE", "MMDDYYS", "XYZ", "CBEURO", "NLMNLEUR", "TIME"};
    for (int index = 0; names.size() < 1000; ++index) {
        names.push_back(std::string(stems[index % 8]) + std::to_string(index % 125) + "." + std::to_string(index % 3));
    }
    using Seen = std::map<std::pair<std::size_t, std::size_t>, const Formatter*>;
    std::vector<Seen> seen(8);
    std::vector<std::thread> threads;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    for (std::size_t thread = 0; thread < seen.size(); ++thread) {
        threads.emplace_back([&, thread] {
            for (std::size_t round = 0; std::chrono::steady_clock::now() < deadline || round < 2; ++round) {
                for (std::size_t index = thread; index < names.size() * contexts.size(); index += 7) {
                    const std::size_t contextIndex = (index + round) % contexts.size();
                    const std::size_t nameIndex = index % names.size();
                    const Formatter* formatter = factory().getFormatter(contexts[contextIndex], names[nameIndex]).get();
                    const auto [entry, inserted] = seen[thread].try_emplace({contextIndex, nameIndex}, formatter);
                    if (!inserted && entry->second != formatter) {
                        ADD_FAILURE() << "a pair resolved to two formatters";
                        return;
                    }
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    for (const auto& threadSeen : seen) {
        for (const auto& [pair, formatter] : threadSeen) {
            EXPECT_EQ(seen[0].count(pair) ? seen[0].at(pair) : formatter, formatter);
        }
    }
    EXPECT_EQ(factory().getNumberOfCachedFormatters(), names.size() * contexts.size());
}

}  // namespace
}  // namespace pellium
