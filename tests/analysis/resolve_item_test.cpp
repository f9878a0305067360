#include "analysis/resolve_item.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include "analysis/plain_names.h"
#include "support/text_file.h"

namespace {

// A names file of its own for each case, removed at its end.
class NamesFile {
 public:
  explicit NamesFile(const std::string& content) : path_(WriteFile("networks", content)) {}
  ~NamesFile() { Remove(); }
  NamesFile(const NamesFile&) = delete;
  NamesFile& operator=(const NamesFile&) = delete;

  const char* path() const { return path_.c_str(); }
  void Remove() { unlink(path()); }

 private:
  std::string path_;
};

std::string Resolve(const std::string& text, const char* path) {
  char item[kTextSize];
  CopyText(item, text);
  ResolveItem(item, path);
  return item;
}

std::string Resolve(const std::string& text, const NamesFile& names) {
  return Resolve(text, names.path());
}

}  // namespace

TEST(ResolveItem, ReplacesACodeByItsDescription) {
  const NamesFile names("COM Commercial\nORG\t Non-profit organization\r\nUNKNOWN Numeric address\n");
  EXPECT_EQ(Resolve("com", names), "Commercial");
  EXPECT_EQ(Resolve("OrG", names), "Non-profit organization");
  EXPECT_EQ(Resolve("UNKNOWN", names), "Numeric address");
}

TEST(ResolveItem, UpperCasesWhatItDoesNotFind) {
  const NamesFile names("COM Commercial\n");
  EXPECT_EQ(Resolve("co", names), "CO");
  EXPECT_EQ(Resolve("comm9\xE9", names), "COMM9\xE9");
  EXPECT_EQ(Resolve("", names), "");
}

TEST(ResolveItem, ComparesCodesCaseSensitively) {
  const NamesFile names("com Commercial\nOrg Organization\n");
  EXPECT_EQ(Resolve("com", names), "COM");
  EXPECT_EQ(Resolve("Org", names), "ORG");
}

TEST(ResolveItem, MissingFileLeavesItemUpperCased) {
  EXPECT_EQ(Resolve("com", "/no/such/names"), "COM");
  EXPECT_EQ(Resolve("com", ""), "COM");
  EXPECT_EQ(Resolve("com", static_cast<const char*>(nullptr)), "COM");
}

TEST(ResolveItem, FolderInPlaceOfTheFileLeavesItemUpperCased) {
  EXPECT_EQ(Resolve("com", testing::TempDir().c_str()), "COM");
}

TEST(ResolveItem, EmptyFileLeavesItemUpperCased) {
  EXPECT_EQ(Resolve("com", NamesFile("")), "COM");
  EXPECT_EQ(Resolve("com", NamesFile(" \n\n ")), "COM");
}

TEST(ResolveItem, LastLineWithoutLineBreakNeverMatchesDeliberately) {
  const NamesFile names("ORG Organization\nCOM Commercial");
  EXPECT_EQ(Resolve("com", names), "COM");
  EXPECT_EQ(Resolve("org", names), "Organization");
}

TEST(ResolveItem, CodeAloneTakesTheNextLineAsDescription) {
  const NamesFile names("COM\nORG Organization\nNET Network\n");
  EXPECT_EQ(Resolve("com", names), "ORG Organization");
  EXPECT_EQ(Resolve("org", names), "ORG");
  EXPECT_EQ(Resolve("net", names), "Network");
}

TEST(ResolveItem, DescriptionBeyond99CharactersIsTheNextRecord) {
  const std::string description(99, 'd');
  const NamesFile names("COM " + description + "ORG Organization\nNET Network\n");
  EXPECT_EQ(Resolve("com", names), description);
  EXPECT_EQ(Resolve("org", names), "Organization");
  EXPECT_EQ(Resolve("net", names), "Network");
}

TEST(ResolveItem, NinetyNineCharactersNeedNoLineBreak) {
  const std::string description(99, 'd');
  EXPECT_EQ(Resolve("com", NamesFile("COM " + description)), description);
  EXPECT_EQ(Resolve("com", NamesFile("COM " + description.substr(1))), "COM");
}

TEST(ResolveItem, CodeBeyond19CharactersFlowsIntoItsDescription) {
  const std::string code(19, 'X');
  EXPECT_EQ(Resolve(code, NamesFile(code + "YZ Name\n")), "YZ Name");
}

TEST(ResolveItem, DropsOneLineFeedThenOneCarriageReturn) {
  EXPECT_EQ(Resolve("com", NamesFile("COM Commercial\r\r\n")), "Commercial\r");
  EXPECT_EQ(Resolve("com", NamesFile("COM Commercial \n")), "Commercial ");
}

TEST(ResolveItem, GoesOnReadingAfterAMatch) {
  const NamesFile names("B Z\nA B\nB C\nC d\nA Q\nD Never\n");
  EXPECT_EQ(Resolve("a", names), "d");
  EXPECT_EQ(Resolve("c", names), "d");
  EXPECT_EQ(Resolve("b", names), "Z");
}

TEST(ResolveItem, FirstOfTwoRecordsOfACodeCounts) {
  EXPECT_EQ(Resolve("a", NamesFile("A First\nA Second\n")), "First");
}

TEST(ResolveItem, RecordThatNamesItselfDoesNotHang) {
  EXPECT_EQ(Resolve("a", NamesFile("A A\nA A\nA Other\nA A\n")), "Other");
}

TEST(ResolveItem, ReadsTheFileOnceARun) {
  NamesFile names("COM Commercial\nORG Organization\n");
  EXPECT_EQ(Resolve("com", names), "Commercial");
  names.Remove();
  EXPECT_EQ(Resolve("org", names), "Organization");
}

TEST(ResolveItem, AnotherPathIsAnotherFile) {
  const NamesFile first("COM First\n");
  const NamesFile second("COM Second\n");
  EXPECT_EQ(Resolve("com", first), "First");
  EXPECT_EQ(Resolve("com", second), "Second");
  EXPECT_EQ(Resolve("com", "/no/such/names"), "COM");
}

TEST(ResolveItem, LongestItemAndBinaryFile) {
  const NamesFile names(std::string("A\0B C\nCOM \0x\nD E\n", 17));
  EXPECT_EQ(Resolve(std::string(kTextMax, 'x'), names), std::string(kTextMax, 'X'));
  EXPECT_EQ(Resolve("com", names), "");
  EXPECT_EQ(Resolve("d", names), "E");
}

TEST(ResolveItem, AnswersAsReadingTheFileForEachItem) {
  std::mt19937 random(3);
  const char* const pieces[] = {"A",
                                "B",
                                "C",
                                "AB",
                                " ",
                                " ",
                                "\n",
                                "\n",
                                "\t",
                                "\r\n",
                                "c",
                                "A B\n",
                                "\n\n",
                                "AAAAAAAAAAAAAAAAAAAAAAAAA",
                                "BBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBB"};
  int replaced = 0;
  for (int round = 0; round < 150; ++round) {
    std::string content;
    for (size_t i = random() % 120; i > 0; --i) {
      content += pieces[random() % std::size(pieces)];
    }
    const NamesFile names(content);
    for (const char* item : {"a", "B", "c", "ab", "AAAAAAAAAAAAAAAAAAA", "aaaaaa", "BB"}) {
      SCOPED_TRACE(content + "|" + item);
      const std::string resolved = Resolve(item, names);
      ASSERT_EQ(resolved, PlainNames(content).Resolve(item));
      replaced += strcasecmp(resolved.c_str(), item) != 0;
    }
  }
  EXPECT_GT(replaced, 100);
}

// The names file that is installed with the program.
static const char* const kShippedNames = SITE_FOLDER "/networks.txt";

TEST(ShippedNames, NameTheDomains) {
  EXPECT_EQ(Resolve("com", kShippedNames), "Commercial");
  EXPECT_EQ(Resolve("edu", kShippedNames), "Educational, United States");
  EXPECT_EQ(Resolve("ch", kShippedNames), "Switzerland");
  EXPECT_EQ(Resolve("zw", kShippedNames), "Zimbabwe");
  EXPECT_EQ(Resolve("xn--p1ai", kShippedNames), "Russian Federation");
  EXPECT_EQ(Resolve("UNKNOWN", kShippedNames), "Unresolved numeric addresses");
}

TEST(ShippedNames, EachLineIsOneRecordThatNamesItsCode) {
  FILE* const file = fopen(kShippedNames, "r");
  ASSERT_NE(file, nullptr);
  std::string previous;
  int countries = 0;
  for (char line[200]; fgets(line, sizeof line, file) != nullptr;) {
    SCOPED_TRACE(line);
    char code[20];
    char description[100];
    ASSERT_EQ(sscanf(line, "%19[A-Z0-9-] %99[ -~]\n", code, description), 2);
    ASSERT_EQ(line[strlen(line) - 1], '\n');
    EXPECT_LT(previous, code);
    EXPECT_EQ(Resolve(code, kShippedNames), description);
    previous = code;
    countries += strlen(code) == 2;
  }
  fclose(file);
  EXPECT_GE(countries, 249);
}
