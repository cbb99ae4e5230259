// The strict reader of CSV tables.
#include "examples/csv.hpp"

#include "program.hpp"

namespace ozk::examples::test {
namespace {

TEST(Csv, ReadsQuotedAndPlainFieldsWithEitherLineEnd) {
    const Folder folder;
    for (const char* text :
         {"\"a\",\"b \"\"c\"\", d\"\n1,-2.5\n\"3e2\",4\n", "a,\"b \"\"c\"\", d\"\r\n1,-2.5\r\n3e2,4"}) {
        const csv::Table table = csv::read(folder.write("table.csv", text));
        ASSERT_EQ(table.rows(), 2u);
        EXPECT_EQ(table["a"], (std::vector<double>{1, 300}));
        EXPECT_EQ(table["b \"c\", d"], (std::vector<double>{-2.5, 4}));
        table.require({"a"}, 2);
    }
}

TEST(Csv, SaysWhatIsWrongAndInWhichLine) {
    using namespace std::string_literals;
    const struct {
        std::string text, line, what;
    } cases[] = {
        {"", "1", "the file is empty"},
        {"a,,c\n", "1", "name of column 2 is empty"},
        {"a,b,a\n", "1", "two columns \"a\""},
        {"\"a,b\n1,2\n", "1", "a quote is not closed"},
        {"\"a\"x,b\n", "1", "\"x\" follows a closed quote, a comma was expected"},
        {"a\"b\",c\n", "1", "quote inside"},
        {"a,b\n1,2\n3\n", "3", "the row has 1 fields, the header has 2"},
        {"a,b\n1,2\n3,4,5\n", "3", "the row has 3 fields, the header has 2"},
        {"a,b\n1,2\n\n3,4\n", "3", "the line is empty, 2 numbers were expected"},
        {"a,b\n1,\n", "2", "column \"b\": the field is empty, a number was expected"},
        {"a,b\n1,2\n1,n/a\n", "3", "column \"b\": \"n/a\" is not a number, a number was expected"},
        {"a,b\n1, 2\n", "2", "\" 2\" is not a number"},
        {"a,b\n1,2x\n", "2", "\"2x\" is not a number"},
        {"a,b\n1,nan\n", "2", "\"nan\" is not a number"},
        {"a,b\n1,-inf\n", "2", "\"-inf\" is not a number"},
        {"a,b\n1e999,2\n", "2", "\"1e999\" is beyond the range of a double"},
        {"a,b\n1,\"2\n", "2", "a quote is not closed"},
        {"a,b\n1,\x1b[31m\0\n"s, "2", "\"\\x1b[31m\\x00\" is not a number"},
        {"a,b\n1," + std::string(1000, '9') + "\n", "2", "\"" + std::string(24, '9') + "...\" is beyond"},
    };
    const Folder folder;
    for (const auto& c : cases) {
        const std::string file = folder.write("table.csv", c.text);
        try {
            csv::read(file);
            ADD_FAILURE() << "accepted: " << c.text;
        } catch (const csv::Error& error) {
            const std::string message = error.what();
            EXPECT_EQ(message.find(file + ":" + c.line + ": "), 0u) << message;
            EXPECT_NE(message.find(c.what), message.npos) << message << "\nwanted: " << c.what;
            EXPECT_EQ(message.find('\n'), message.npos) << message;
        }
    }
}

TEST(Csv, NamesAFileThatCannotBeRead) {
    const Folder folder;
    for (const std::string& file : {folder.file("missing.csv"), folder.file("."), std::string("/dev/zero")}) {
        try {
            csv::read(file);
            ADD_FAILURE() << "accepted: " << file;
        } catch (const csv::Error& error) {
            EXPECT_EQ(std::string(error.what()).find(file + ": "), 0u) << error.what();
        }
    }
}

TEST(Csv, NoPrefixOfAFileCrashesTheReader) {
    const std::string whole = "\"a\",\"b\"\n1,2\n\"3\",4.5e3\n";
    const Folder folder;
    for (size_t length = 0; length < whole.size(); ++length) {
        const std::string file = folder.write("table.csv", whole.substr(0, length));
        try {
            EXPECT_LE(csv::read(file).rows(), 2u);
        } catch (const csv::Error& error) {
            EXPECT_EQ(std::string(error.what()).find(file + ":"), 0u) << error.what();
        }
    }
}

}  // namespace
}  // namespace ozk::examples::test
