#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "pellium/resources/localization/ResourceBundle.h"
#include "pellium/resources/localization/ResourceManager.h"

namespace pellium {
namespace {

const std::string ARABIC_MISSING = "(\xD9\x85\xD9\x81\xD9\x82\xD9\x88\xD8\xAF)";  // "(مفقود)"

class ResourceManagerTest : public ::testing::Test {
protected:
    void SetUp() override { ResourceManager::instance().resetBundles(); }
    void TearDown() override {
        ResourceManager::instance().resetBundles();
        ResourceManager::instance().setCurrentContext(LocalizationContext::create());
    }
    static std::string text(const SharedString& value) { return value ? *value : std::string("<null>"); }
    ResourceManager& manager = ResourceManager::instance();
};

TEST_F(ResourceManagerTest, KeysFallBackOneByOneThroughCountryLanguageAndEnUs) {
    // vek_portable_formatters ships ar_SA (the first day of the week and the percent sign), ar
    // and en_US, among others, but not Swahili.
    EXPECT_EQ(text(manager.getString("vek_portable_formatters", "firstDayOfWeek", "ar_SA")), "0");
    EXPECT_EQ(text(manager.getString("vek_portable_formatters", "firstDayOfWeek", "ar_EG")), "6");
    EXPECT_EQ(text(manager.getString("vek_portable_formatters", "firstDayOfWeek", "ar")), "6");
    EXPECT_EQ(text(manager.getString("vek_portable_formatters", "firstDayOfWeek", "sw_TZ")), "0");
    // A language-only bundle serves its countries, and a key only en_US has is found from ar_SA.
    EXPECT_EQ(text(manager.getString("vek_pellium", "missingValue.txt", "ar_SA")), ARABIC_MISSING);
    EXPECT_EQ(text(manager.getString("vek_pellium", "COLUMN_NO_NAME.txt", "ar_SA")),
              "No name for column at position {0}");
    EXPECT_EQ(text(manager.getString("vek_portable_formatters", "hdate.0", "ar_SA")), "d MMM yy");
    // An unknown or malformed locale reads en_US.
    EXPECT_EQ(text(manager.getString("vek_pellium", "missingValue.txt", "xx_YY")), "(missing)");
    EXPECT_EQ(text(manager.getString("vek_pellium", "missingValue.txt", "!!")), "(missing)");
    EXPECT_EQ(manager.getString("vek_pellium", "no.such.key", "ar_SA"), nullptr);
}

TEST_F(ResourceManagerTest, GetBundleAnswersExactlyOneLocaleWithoutFallback) {
    const auto arabic = manager.getBundle("vek_pellium", "AR");
    ASSERT_NE(arabic, nullptr);
    EXPECT_EQ(arabic->getLocale(), "ar");
    EXPECT_FALSE(arabic->containsKey("COLUMN_NO_NAME.txt"));
    EXPECT_EQ(manager.getBundle("vek_pellium", "ar_SA"), nullptr);
    EXPECT_EQ(manager.getBundle("no_such_bundle", "en_US"), nullptr);
    EXPECT_EQ(manager.getBundle("vek/pellium", "en_US"), nullptr);
    EXPECT_EQ(manager.getBundle("vek_pellium", "en US"), nullptr);
    // The same loaded bundle is handed out again.
    EXPECT_EQ(manager.getBundle("vek_pellium", "ar"), arabic);
}

TEST_F(ResourceManagerTest, RegisteredTextsOverrideKeyByKeyAndResetRestoresTheCompiledOnes) {
    ASSERT_TRUE(manager.registerBundle("vek_pellium", "en_US", "suppressed.txt=hidden\nextra.txt=Extra"));
    EXPECT_EQ(text(manager.getString("vek_pellium", "suppressed.txt", "en_US")), "hidden");
    EXPECT_EQ(text(manager.getString("vek_pellium", "extra.txt", "en_US")), "Extra");
    EXPECT_EQ(text(manager.getString("vek_pellium", "missingValue.txt", "en_US")), "(missing)");

    // A second registration accumulates; a key given again wins.
    ASSERT_TRUE(manager.registerBundle("vek_pellium", "en_US", "extra.txt=Again"));
    EXPECT_EQ(text(manager.getString("vek_pellium", "suppressed.txt", "en_US")), "hidden");
    EXPECT_EQ(text(manager.getString("vek_pellium", "extra.txt", "en_US")), "Again");

    manager.resetBundles();
    EXPECT_EQ(text(manager.getString("vek_pellium", "suppressed.txt", "en_US")), "(suppressed)");
    EXPECT_EQ(manager.getString("vek_pellium", "extra.txt", "en_US"), nullptr);
}

TEST_F(ResourceManagerTest, RegisteringAddsALocaleTheLibraryDoesNotShip) {
    EXPECT_EQ(text(manager.getString("vek_pellium", "missingValue.txt", "de_AT")), "(missing)");  // loaded, absent
    ASSERT_TRUE(manager.registerBundle("vek_pellium", "de", "missingValue.txt=(fehlt)"));
    EXPECT_EQ(text(manager.getString("vek_pellium", "missingValue.txt", "de_AT")), "(fehlt)");
    EXPECT_EQ(text(manager.getString("vek_pellium", "ALL_OTHER.txt", "de_AT")), "All Other");

    const auto locales = manager.getAvailableLocales("vek_pellium");
    EXPECT_EQ(locales, (std::vector<std::string>{"ar", "de", "en_US"}));
    const auto formatterLocales = manager.getAvailableLocales("vek_portable_formatters");
    EXPECT_TRUE(std::is_sorted(formatterLocales.begin(), formatterLocales.end()));
    for (const char* shipped : {"ar", "ar_SA", "de", "de_CH", "en_US", "he_IL"}) {
        EXPECT_NE(std::find(formatterLocales.begin(), formatterLocales.end(), shipped), formatterLocales.end())
            << shipped;
    }
    EXPECT_TRUE(manager.getAvailableLocales("no_such_bundle").empty());

    EXPECT_FALSE(manager.registerBundle("vek pellium", "de", "a=b"));
    EXPECT_FALSE(manager.registerBundle("vek_pellium", "deutsch!", "a=b"));
    EXPECT_FALSE(manager.registerBundle("", "de", "a=b"));
}

TEST_F(ResourceManagerTest, CurrentContextIsAFrozenSnapshotOfWhatTheHostSet) {
    const auto initial = manager.getCurrentContext();
    ASSERT_NE(initial, nullptr);
    EXPECT_TRUE(initial->isFrozen());
    EXPECT_EQ(initial->getLocale(), "en_US");

    auto hostContext = LocalizationContext::create("ar_SA");
    ASSERT_TRUE(manager.setCurrentContext(hostContext));
    ASSERT_TRUE(hostContext->setLocale("fr_FR"));  // the host keeps changing its own object
    const auto current = manager.getCurrentContext();
    EXPECT_TRUE(current->isFrozen());
    EXPECT_EQ(current->getLocale(), "ar_SA");
    EXPECT_EQ(*current->getString("vek_pellium", "missingValue.txt"), ARABIC_MISSING);
    EXPECT_EQ(initial->getLocale(), "en_US");  // a snapshot taken earlier is unchanged

    EXPECT_FALSE(manager.setCurrentContext(nullptr));
    EXPECT_EQ(manager.getCurrentContext()->getLocale(), "ar_SA");
}

// Lowers the limit of open files to the lowest free descriptor, so that any attempt to open a
// file fails with EMFILE while the guard lives.
class FileOpeningBlocked {
public:
    FileOpeningBlocked() {
        const int lowestFree = open("/dev/null", O_RDONLY);  // open() takes the lowest free number
        if (lowestFree < 0 || getrlimit(RLIMIT_NOFILE, &saved_) != 0) {
            return;
        }
        close(lowestFree);
        rlimit blocked = saved_;
        blocked.rlim_cur = static_cast<rlim_t>(lowestFree);
        active_ = setrlimit(RLIMIT_NOFILE, &blocked) == 0;
    }
    ~FileOpeningBlocked() {
        if (active_) {
            setrlimit(RLIMIT_NOFILE, &saved_);
        }
    }
    bool isActive() const { return active_; }

private:
    rlimit saved_{};
    bool active_ = false;
};

TEST_F(ResourceManagerTest, BundlesLoadFromTheLibraryItselfWithNoFileReachable) {
    // The bundle is not loaded yet (SetUp reset the cache); the working directory is an empty
    // folder, so no relative "assets/" path can be found; and no file can be opened at all.
    ASSERT_EQ(manager.getNumberOfCachedBundles(), 0U);
    // Loading another bundle first runs the same code once: sanitizer runtimes need a descriptor
    // the first time they check a type, which the guard below would refuse them.
    ASSERT_NE(manager.getString("vek_pellium", "missingValue.txt", "en_US"), nullptr);
    const auto cachedBefore = manager.getNumberOfCachedBundles();
    const auto previous = std::filesystem::current_path();
    const auto folder = std::filesystem::temp_directory_path() / ("pellium-no-assets-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    std::filesystem::current_path(folder);

    SharedString word;
    int probe = 0;
    bool blocked = false;
    {
        FileOpeningBlocked guard;
        blocked = guard.isActive();
        probe = open("/dev/null", O_RDONLY);
        word = manager.getString("vek_expression_tokens", "expression.token.int", "en_US");
    }
    if (probe >= 0) {
        close(probe);
    }
    std::filesystem::current_path(previous);
    std::filesystem::remove_all(folder);

    ASSERT_TRUE(blocked);
    EXPECT_EQ(probe, -1) << "the guard must make every open() fail";
    ASSERT_NE(word, nullptr);
    EXPECT_EQ(*word, "Trunc");
    EXPECT_GT(manager.getNumberOfCachedBundles(), cachedBefore) << "the bundle was loaded under the guard";
}

TEST_F(ResourceManagerTest, LookUpsFromManyThreadsStayConsistentWhileTheContextAndBundlesChange) {
    const std::vector<std::string> locales = {"en_US", "ar_SA", "de_DE"};
    constexpr int ROUNDS = 200;
    std::atomic<bool> writerDone = false;
    std::atomic<int> failures = 0;

    std::thread writer([&] {
        for (int round = 0; round < ROUNDS; ++round) {
            manager.setCurrentContext(LocalizationContext::create(locales[round % locales.size()]));
            manager.registerBundle("test_concurrency", "en_US", "round=" + std::to_string(round));
            std::this_thread::yield();
        }
        writerDone = true;
    });
    std::vector<std::thread> readers;
    for (int reader = 0; reader < 8; ++reader) {
        readers.emplace_back([&] {
            int lastRoundSeen = -1;
            for (int iteration = 0; iteration < 200 || !writerDone.load(); ++iteration) {
                const auto context = manager.getCurrentContext();
                const auto missing = context->getString("vek_pellium", "missingValue.txt");
                const bool arabic = context->getLocale() == "ar_SA";
                const bool consistent = context->isFrozen() && missing &&
                                        *missing == (arabic ? ARABIC_MISSING : std::string("(missing)")) &&
                                        context->isFormatLocaleRTL() == arabic &&
                                        context->getFormatterCacheKey().starts_with(context->getLocale());
                const auto month = context->getFormatString("vek_portable_formatters", "month.wide.3");
                // Registrations only move forward, so no reader may see an older one again.
                const auto round = manager.getString("test_concurrency", "round", "en_US");
                const int roundSeen = round ? std::stoi(*round) : -1;
                if (!consistent || !month || roundSeen < lastRoundSeen) {
                    ++failures;
                }
                lastRoundSeen = roundSeen;
            }
        });
    }
    writer.join();
    for (auto& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(failures.load(), 0);
    // No load that raced with a registration may have left an older text in the cache.
    EXPECT_EQ(text(manager.getString("test_concurrency", "round", "en_US")), std::to_string(ROUNDS - 1));
}

}  // namespace
}  // namespace pellium
