// The message catalogue, with catalogue files written into a scratch MSG_DIR
// whose name is not ASCII (file names are UTF-8). The Paths rows are
// registry values, so under wine these cases must not run concurrently with
// other cases that write the same rows.
#include <gtest/gtest.h>

#include <atomic>
#include <cctype>
#include <clocale>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "support/alloc_hook.h"
#include "support/registry_fixture.h"
#include "support/scratch.h"
#include "twcommon/locale.h"

namespace fs = std::filesystem;

namespace {

#if defined(_WIN32)
const char *const kSeparator = "\\";
#else
const char *const kSeparator = "/";
#endif

std::string str(const char *text) { return text ? text : "<null>"; }

// A double-byte locale whose second bytes include the backslash: there,
// "\x83\x5c" is one character, not a lead byte and an escape.
#if defined(_WIN32)
const char *const kShiftJis = "Japanese_Japan.932";
#else
const char *const kShiftJis = "ja_JP.SJIS";
#endif

bool runtime_knows(const char *locale) {
    std::string saved = std::setlocale(LC_CTYPE, nullptr);
    bool known = std::setlocale(LC_CTYPE, locale) != nullptr;
    std::setlocale(LC_CTYPE, saved.c_str());
    return known;
}

class CatalogTest : public ::testing::Test {
protected:
    CatalogTest() {
        registry.set_path("MSG_DIR", msg_dir);
        registry.set_path("_ps", kSeparator);
    }
    ~CatalogTest() override { msgCacheUnload(); }

    // Writes MSG_DIR/<locale>/<area>/<name> with the bytes given.
    fs::path write(const std::string &locale, const std::string &area, const std::string &name,
                   const std::string &bytes) {
        fs::path dir = fs::u8path(msg_dir) / locale / area;
        fs::create_directories(dir);
        std::ofstream out(dir / name, std::ios::binary | std::ios::trunc);
        out << bytes;
        return dir / name;
    }

    // A locale definition file mapping each common name to a platform name.
    void map_locales(const std::vector<std::pair<std::string, std::string>> &common_to_platform) {
        std::string path = scratch.file("locales.def");
        std::ofstream out(path);
        for (const auto &[common, platform] : common_to_platform)
            out << "TM " << platform.size() << " " << platform << " " << common.size() << " " << common << "\n";
        registry.set_path("LOCALE_FILE", path);
    }

    twtest::ScratchDir scratch;
    twtest::RegistryFixture registry;
    const std::string msg_dir = scratch.path() + kSeparator + "catalogues-\xc3\xa9\xe2\x82\xac";
};

TEST_F(CatalogTest, LinesTextsAndEscapes) {
    write("C", "tallowind", "CerMsgs",
          "# a comment line CerTmf0010N\n"
          "CerTmf0010N \"Le fichier %s est introuvable\"\n"
          "CerTmf0011N \"a \\\"b\\\" c\" then \"d\" more\r\n"
          "CerTmf0012N \"tab\\there\\nnew \\\\ \\q \\b\\f\\r\\v end\\\"\n"
          "CerTmf0013N \"no closing quote\n"
          "CerTmf0014N \"first\"\n"
          "CerTmf0014N \"second\"\n"
          "CerTmf0015N \"\"\n"
          "CerTmf0016Q \"another area letter\"\n"
          "CerTmf17\n"
          "CerTmf0018N|'odd separators are fine\"\n"
          "CerTmf0019N \"last line without line feed");
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0010N")), "Le fichier %s est introuvable");
    // The text ends at the last quote on the line; escaped quotes become quotes.
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0011N")), "a \"b\" c\" then \"d");
    // A backslash at the very end stays.
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0012N")), "tab\there\nnew \\ q \b\f\r\v end\\");
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0013N")), "no closing quote\n");
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0014N")), "second");
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0015N")), "");
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0018N")), "odd separators are fine");
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0019N")), "last line without line feed");
    EXPECT_EQ(getLocalMsgFmt("C", "CerTmf0099N"), nullptr);
    // A text stays where it is for later lookups.
    const char *first = getLocalMsgFmt("C", "CerTmf0010N");
    EXPECT_EQ(getLocalMsgFmt("C", "CerTmf0010N"), first);
}

TEST_F(CatalogTest, AreaLetterChoosesTheDirectoryAndMustMatchInTheFile) {
    write("C", "tallowind", "CerMsgs", "CerTmf0020H \"from the wrong directory\"\nCerTmf0021N \"main\"\n");
    write("C", "hsm", "CerMsgs", "CerTmf0020H \"hsm\"\nCerTmf0021N \"wrong letter\"\nCerTmf0022H \"second\"\n");
    write("C", "vault", "CerMsgs", "CerTmf0020V \"vault\"\n");
    write("C", "xfer", "CerMsgs", "CerTmf0020X \"xfer\"\n");
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0020H")), "hsm");
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0022H")), "second");
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0020V")), "vault");
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0020X")), "xfer");
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0021N")), "main");
    EXPECT_EQ(getLocalMsgFmt("C", "CerTmf0020N"), nullptr);
    // Lowercase letters are not the H, V and X areas.
    write("C", "tallowind", "CerMsgs", "CerTmf0030h \"lowercase\"\n");
    msgCacheUnload();
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0030h")), "lowercase");
}

TEST_F(CatalogTest, MissesAndReadFilesAreRememberedWithoutReopening) {
    fs::path path = write("C", "tallowind", "CerMsgs", "CerTmf0001N \"one\"\n");
    EXPECT_EQ(getLocalMsgFmt("C", "CerTmf0002N"), nullptr);
    // Once read, the file is not read again for this locale: neither a new
    // identifier nor the same one sees what is added later.
    write("C", "tallowind", "CerMsgs", "CerTmf0001N \"changed\"\nCerTmf0002N \"two\"\nCerTmf0003N \"three\"\n");
    EXPECT_EQ(getLocalMsgFmt("C", "CerTmf0002N"), nullptr);
    EXPECT_EQ(getLocalMsgFmt("C", "CerTmf0003N"), nullptr);
    fs::remove(path);
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0001N")), "one");

    // A file that was missing is remembered as well.
    EXPECT_EQ(getLocalMsgFmt("C", "AbcTmf0001N"), nullptr);
    write("C", "tallowind", "AbcMsgs", "AbcTmf0001N \"late\"\nAbcTmf0002N \"late\"\n");
    EXPECT_EQ(getLocalMsgFmt("C", "AbcTmf0002N"), nullptr);

    // After msgCacheUnload everything is read afresh.
    write("C", "tallowind", "CerMsgs", "CerTmf0001N \"reloaded\"\n");
    msgCacheUnload();
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0001N")), "reloaded");
    EXPECT_EQ(str(getLocalMsgFmt("C", "AbcTmf0002N")), "late");
    msgCacheUnload();
    msgCacheUnload();  // twice, and with nothing cached, is harmless
}

TEST_F(CatalogTest, LocalesAreSeparate) {
    write("C", "tallowind", "CerMsgs", "CerTmf0001N \"in C\"\n");
    write("POSIX", "tallowind", "CerMsgs", "CerTmf0001N \"in POSIX\"\n");
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0001N")), "in C");
    EXPECT_EQ(str(getLocalMsgFmt("POSIX", "CerTmf0001N")), "in POSIX");
    // A locale without a directory has no texts at all.
    EXPECT_EQ(getLocalMsgFmt("nowhere", "CerTmf0001N"), nullptr);
    fs::create_directories(fs::u8path(msg_dir) / "nowhere" / "tallowind");
    write("nowhere", "tallowind", "CerMsgs", "CerTmf0001N \"too late\"\n");
    EXPECT_EQ(getLocalMsgFmt("nowhere", "CerTmf0002N"), nullptr);
}

TEST_F(CatalogTest, LongLinesAreReadWholeByPosition) {
    const std::string big(20000, 'x');
    std::string file = "CerTmf0001N \"" + big + "\\tend\\\"\" ignored\n";
    // Lines whose length falls around the piece size of 8192.
    std::vector<std::string> texts;
    for (size_t line_length : {8190, 8191, 8192, 8193, 8194, 8195, 16384, 16385}) {
        std::string text(line_length - 15, 'a' + char(texts.size()));  // 13 before, quote and line feed after
        char id[12];
        std::snprintf(id, sizeof id, "CerLng%04dN", int(texts.size()));
        file += std::string(id) + " \"" + text + "\"\n";
        texts.push_back(text);
    }
    // A long line without any closing quote, and a long skipped line.
    file += "CerTmf0002N \"" + std::string(9000, 'q') + "\n";
    file += "CerTmf0003X \"" + std::string(9000, 's') + "\"\n";
    file += "CerTmf0004N \"after\"\n";
    write("C", "tallowind", "CerMsgs", file);

    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0001N")), big + "\tend\"");
    for (size_t i = 0; i < texts.size(); ++i) {
        char id[12];
        std::snprintf(id, sizeof id, "CerLng%04dN", int(i));
        EXPECT_EQ(str(getLocalMsgFmt("C", id)), texts[i]) << id;
    }
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0002N")), std::string(9000, 'q') + "\n");
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0004N")), "after");
}

TEST_F(CatalogTest, UniqueMessageIdentifiers) {
    write("C", "tallowind", "TrbMsgs.ABC", "TrbErr0012N \"umi twelve\"\nTrbErr0000N \"umi zero\"\n");
    EXPECT_EQ(str(getLocalMsgFmtUMI("C", "V-ABC-12")), "umi twelve");
    EXPECT_EQ(str(getLocalMsgFmtUMI("C", "V-ABC-0012")), "umi twelve");
    EXPECT_EQ(str(getLocalMsgFmtUMI("C", "V-ABC-0")), "umi zero");
    // The classic identifier is cached like any other.
    EXPECT_EQ(str(getLocalMsgFmt("C", "TrbErr0012N")), "umi twelve");
    EXPECT_EQ(getLocalMsgFmtUMI("C", "V-ABC-13"), nullptr);
    EXPECT_EQ(getLocalMsgFmtUMI("C", "V-XYZ-14"), nullptr);  // no such file

    for (const char *bad : {"V-ABC-12-1", "V-ABC", "V-ABC-", "V--12", "W-ABC-12", "V-ABC-1x", "V-ABC-12345",
                            "V-A/B-12", "", "V", "VABC12"})
        EXPECT_EQ(getLocalMsgFmtUMI("C", bad), nullptr) << bad;
    EXPECT_EQ(getLocalMsgFmtUMI("C", nullptr), nullptr);
    EXPECT_EQ(getLocalMsgFmtUMI(nullptr, "V-ABC-12"), nullptr);
    EXPECT_EQ(getLocalMsgFmtUMI("", "V-ABC-12"), nullptr);
}

// Every product file holds the same classic identifiers; each product's
// texts and misses are its own, and a text handed out stays where it is.
TEST_F(CatalogTest, ProductFilesKeepTheirOwnTextsAndMisses) {
    write("fr", "tallowind", "TrbMsgs.AAA", "TrbErr0001N \"aaa one\"\n");
    write("fr", "tallowind", "TrbMsgs.BBB",
          "TrbErr0001N \"bbb one\"\nTrbErr0002N \"bbb two\"\nTrbErr0004N \"bbb four\"\n");
    write("fr", "tallowind", "TrbMsgs", "TrbErr0001N \"classic one\"\nTrbErr0003N \"classic three\"\n");
    const char *aaa_one = getLocalMsgFmtUMI("fr", "V-AAA-1");
    EXPECT_EQ(str(aaa_one), "aaa one");
    EXPECT_EQ(str(getLocalMsgFmtUMI("fr", "V-BBB-2")), "bbb two");
    EXPECT_EQ(str(aaa_one), "aaa one");
    EXPECT_EQ(getLocalMsgFmtUMI("fr", "V-AAA-1"), aaa_one);
    EXPECT_EQ(str(getLocalMsgFmtUMI("fr", "V-BBB-1")), "bbb one");
    // A miss in one product's file is none in another's.
    EXPECT_EQ(getLocalMsgFmtUMI("fr", "V-AAA-4"), nullptr);
    EXPECT_EQ(str(getLocalMsgFmtUMI("fr", "V-BBB-4")), "bbb four");
    EXPECT_EQ(getLocalMsgFmtUMI("fr", "V-AAA-4"), nullptr);
    EXPECT_EQ(getLocalMsgFmtUMI("fr", "V-CCC-1"), nullptr);  // no such file

    // The classic identifier answers the first product's text that has it
    // until the classic file is read; product files hide no classic file.
    const char *classic_one = getLocalMsgFmt("fr", "TrbErr0001N");
    EXPECT_EQ(str(classic_one), "aaa one");
    EXPECT_EQ(str(getLocalMsgFmt("fr", "TrbErr0003N")), "classic three");
    EXPECT_EQ(str(getLocalMsgFmt("fr", "TrbErr0001N")), "classic one");
    EXPECT_EQ(str(classic_one), "aaa one");
    EXPECT_EQ(str(getLocalMsgFmt("fr", "TrbErr0002N")), "bbb two");
    EXPECT_EQ(str(getLocalMsgFmtUMI("fr", "V-AAA-1")), "aaa one");

    // A locale without a directory remembers each product's misses apart.
    EXPECT_EQ(getLocalMsgFmtUMI("nowhere", "V-AAA-1"), nullptr);
    EXPECT_EQ(getLocalMsgFmtUMI("nowhere", "V-BBB-1"), nullptr);
}

TEST_F(CatalogTest, BadArgumentsGiveNull) {
    write("C", "tallowind", "CerMsgs", "CerTmf0001N \"one\"\nCerTmf001N \"short\"\nCerTmf00011N \"long\"\n");
    EXPECT_EQ(getLocalMsgFmt("C", "CerTmf001N"), nullptr);
    EXPECT_EQ(getLocalMsgFmt("C", "CerTmf00011N"), nullptr);
    EXPECT_EQ(getLocalMsgFmt("C", ""), nullptr);
    EXPECT_EQ(getLocalMsgFmt("C", nullptr), nullptr);
    EXPECT_EQ(getLocalMsgFmt(nullptr, "CerTmf0001N"), nullptr);
    EXPECT_EQ(getLocalMsgFmt("", "CerTmf0001N"), nullptr);
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0001N")), "one");
}

TEST_F(CatalogTest, MultiByteCharactersAreNeverTakenForEscapes) {
    if (!runtime_knows(kShiftJis)) GTEST_SKIP() << kShiftJis << " is not installed";
    // "japanese" is no runtime name: the locale definition file maps it.
    map_locales({{"japanese", kShiftJis}});
    for (const char *locale : {kShiftJis, "japanese"}) {
        write(locale, "tallowind", "CerMsgs", "CerTmf0001N \"\x83\x5cn\\n\"\n");
        EXPECT_EQ(str(getLocalMsgFmt(locale, "CerTmf0001N")), "\x83\x5cn\n") << locale;
    }
    // A name that neither the runtime nor the file knows reads byte by byte.
    write("corpus-common", "tallowind", "CerMsgs", "CerTmf0001N \"\x83\x5cn\\n\"\n");
    EXPECT_EQ(str(getLocalMsgFmt("corpus-common", "CerTmf0001N")), "\x83\n\n");
}

// What a thread sees of the process's locale: case tables, the length of a
// double-byte character, day and month names.
struct LocaleView {
    std::string lower, upper, time;
    int double_byte_length;
    bool operator==(const LocaleView &o) const {
        return lower == o.lower && upper == o.upper && time == o.time && double_byte_length == o.double_byte_length;
    }
};

LocaleView look_at_process_locale() {
    LocaleView view;
    for (int c = 0; c < 256; ++c) {
        view.lower += char(std::tolower(c));
        view.upper += char(std::toupper(c));
    }
    std::mblen(nullptr, 0);
    view.double_byte_length = std::mblen("\x83\x5c", 2);
    std::tm tm{};
    tm.tm_year = 100;
    tm.tm_mday = 3;
    tm.tm_wday = 1;
    char buf[64];
    view.time.assign(buf, std::strftime(buf, sizeof buf, "%a %b", &tm));
    return view;
}

// Loading catalogues and mapping locale names must never switch the
// process's locale, not even for a moment: other threads classify, convert
// and format under it. TWTEST_LOCALE_ROUNDS asks for a longer run by hand.
TEST_F(CatalogTest, LookupsLeaveTheProcessLocaleToOtherThreads) {
    if (!runtime_knows(kShiftJis)) GTEST_SKIP() << kShiftJis << " is not installed";
    const char *rounds_wanted = std::getenv("TWTEST_LOCALE_ROUNDS");
    const int rounds = rounds_wanted && std::atoi(rounds_wanted) > 0 ? std::atoi(rounds_wanted) : 30;
    map_locales({{"japanese", kShiftJis}});
    std::string file;
    for (int i = 0; i < 2000; ++i)  // a long load, each text with a double-byte character before an escape
        file += "CerTmf" + std::to_string(1000 + i) + "N \"\x83\x5c\\t" + std::to_string(i) + "\"\n";
    for (const char *locale : {kShiftJis, "japanese"}) write(locale, "tallowind", "CerMsgs", file);
    const std::string ctype_before = std::setlocale(LC_CTYPE, nullptr);
    const std::string time_before = std::setlocale(LC_TIME, nullptr);
    const LocaleView expected = look_at_process_locale();

    std::atomic<bool> done{false};
    std::atomic<int> wrong_texts{0};
    std::thread loader([&] {
        for (int round = 0; round < rounds; ++round) {
            const char *locale = round % 2 ? kShiftJis : "japanese";
            if (str(getLocalMsgFmt(locale, "CerTmf2999N")) != "\x83\x5c\t1999") ++wrong_texts;
            msgCacheUnload();
            for (const char *name : {"japanese", kShiftJis, "C", "unknown-name"}) common2reallocale(name);
        }
        done = true;
    });
    int looks = 0, changed = 0;
    do {
        if (!(look_at_process_locale() == expected)) ++changed;
        ++looks;
    } while (!done);
    loader.join();
    EXPECT_EQ(wrong_texts.load(), 0);
    EXPECT_EQ(changed, 0) << "in " << looks << " looks";
    EXPECT_EQ(std::setlocale(LC_CTYPE, nullptr), ctype_before);
    EXPECT_EQ(std::setlocale(LC_TIME, nullptr), time_before);
}

TEST_F(CatalogTest, ConcurrentLookupsAgree) {
    std::string file;
    for (int i = 0; i < 200; ++i) {
        char line[64];
        std::snprintf(line, sizeof line, "CerTmf%04dN \"text %d\"\n", i, i);
        file += line;
    }
    write("C", "tallowind", "CerMsgs", file);
    write("POSIX", "tallowind", "CerMsgs", file);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 3; ++round) {
                for (int i = 0; i < 250; ++i) {
                    char id[12];
                    std::snprintf(id, sizeof id, "CerTmf%04dN", (i * 7 + t) % 250);
                    const char *text = getLocalMsgFmt(t % 2 ? "C" : "POSIX", id);
                    int n = (i * 7 + t) % 250;
                    std::string expected = n < 200 ? "text " + std::to_string(n) : "<null>";
                    if (str(text) != expected) ++wrong;
                }
            }
        });
    }
    for (auto &thread : threads) thread.join();
    EXPECT_EQ(wrong.load(), 0);
}

TEST_F(CatalogTest, NoMemoryGivesNullNeverACrash) {
    write("C", "tallowind", "CerMsgs",
          "CerTmf0001N \"one\"\nCerTmf0002N \"two\\n\"\nCerTmf0002N \"again\"\nCerTmf0003N \"" +
              std::string(9000, 'z') + "\"\n");
    write("C", "tallowind", "TrbMsgs.ABC", "TrbErr0012N \"umi\"\n");
    // Load the path table and create the lock before counting allocations.
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0001N")), "one");
    msgCacheUnload();

    int failures = twtest::for_each_allocation_failure(
        [] {
            const char *one = getLocalMsgFmt("C", "CerTmf0001N");
            if (one) { EXPECT_STREQ(one, "one"); }
            const char *two = getLocalMsgFmt("C", "CerTmf0002N");
            if (two) { EXPECT_STREQ(two, "again"); }
            const char *missing = getLocalMsgFmt("C", "CerTmf0009N");
            EXPECT_EQ(missing, nullptr);
            const char *umi = getLocalMsgFmtUMI("C", "V-ABC-12");
            if (umi) { EXPECT_STREQ(umi, "umi"); }
        },
        [](bool failed) { msgCacheUnload(); });
    EXPECT_GT(failures, 10);
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0003N")), std::string(9000, 'z'));
}

}  // namespace
