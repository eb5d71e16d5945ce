// The message catalogue, with catalogue files written into a scratch MSG_DIR.
// The Paths rows are registry values, so under wine these cases must not run
// concurrently with other cases that write the same rows.
#include <gtest/gtest.h>

#include <atomic>
#include <clocale>
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


class CatalogTest : public ::testing::Test {
protected:
    CatalogTest() {
        registry.set_path("MSG_DIR", scratch.path());
        registry.set_path("_ps", kSeparator);
    }
    ~CatalogTest() override { msgCacheUnload(); }

    // Writes MSG_DIR/<locale>/<area>/<name> with the bytes given.
    std::string write(const std::string &locale, const std::string &area, const std::string &name,
                      const std::string &bytes) {
        fs::path dir = fs::path(scratch.path()) / locale / area;
        fs::create_directories(dir);
        std::ofstream out(dir / name, std::ios::binary | std::ios::trunc);
        out << bytes;
        return (dir / name).string();
    }

    twtest::ScratchDir scratch;
    twtest::RegistryFixture registry;
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
    std::string path = write("C", "tallowind", "CerMsgs", "CerTmf0001N \"one\"\n");
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
    fs::create_directories(fs::path(scratch.path()) / "nowhere" / "tallowind");
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

TEST_F(CatalogTest, RuntimeCharacterClassificationIsRestored) {
    write("C", "tallowind", "CerMsgs", "CerTmf0001N \"x\"\n");
    std::string before = std::setlocale(LC_CTYPE, nullptr);
    EXPECT_EQ(str(getLocalMsgFmt("C", "CerTmf0001N")), "x");
    EXPECT_EQ(std::setlocale(LC_CTYPE, nullptr), before);
}

// A double-byte code page whose second bytes include the backslash: there,
// "\x83\x5c" is one character, not a lead byte and an escape.
TEST_F(CatalogTest, MultiByteCharactersAreNeverTakenForEscapes) {
#if defined(_WIN32)
    const char *sjis = "Japanese_Japan.932";
#else
    const char *sjis = "ja_JP.SJIS";
#endif
    std::string saved = std::setlocale(LC_CTYPE, nullptr);
    bool available = std::setlocale(LC_CTYPE, sjis) != nullptr;
    std::setlocale(LC_CTYPE, saved.c_str());
    if (!available) GTEST_SKIP() << sjis << " is not installed";
    write(sjis, "tallowind", "CerMsgs", "CerTmf0001N \"\x83\x5cn\\n\"\n");
    EXPECT_EQ(str(getLocalMsgFmt(sjis, "CerTmf0001N")), "\x83\x5cn\n");
    EXPECT_EQ(std::setlocale(LC_CTYPE, nullptr), saved);
}

TEST_F(CatalogTest, CommonNamesAreMappedForTheCharacterClassification) {
    // "corpus-common" is no runtime name: the locale definition file maps it to C.
    std::string locale_file = scratch.file("locales.def");
    std::ofstream(locale_file) << "TL 1 C\nTM 1 C 13 corpus-common\n";
    registry.set_path("LOCALE_FILE", locale_file);
    write("corpus-common", "tallowind", "CerMsgs", "CerTmf0001N \"mapped\"\n");
    EXPECT_EQ(str(getLocalMsgFmt("corpus-common", "CerTmf0001N")), "mapped");
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
