#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <memory>
#include <set>
#include <sstream>
#include <string>

namespace {

std::string output_of(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    char buffer[4096];
    while (pipe != nullptr && std::fgets(buffer, sizeof buffer, pipe.get()) != nullptr) output += buffer;
    return output;
}

std::set<std::string> declared_names() {
    const std::string header =
        output_of("'" OZK_CXX "' -E -P -x c '" OZK_SOURCE_DIR "/include/ozk_core.h' 2>/dev/null");
    std::set<std::string> names;
    for (size_t start = header.find("ozk_"); start != std::string::npos;
         start = header.find("ozk_", start + 1)) {
        size_t end = start;
        while (std::isalnum(static_cast<unsigned char>(header[end])) || header[end] == '_') ++end;
        if (header[header.find_first_not_of(" \n", end)] == '(')
            names.insert(header.substr(start, end - start));
    }
    return names;
}

std::set<std::string> exported_names() {
    std::istringstream lines(output_of("'" OZK_NM "' -D --defined-only '" OZK_CORE_LIBRARY "'"));
    std::set<std::string> names;
    std::string address, kind, name;
    while (lines >> address >> kind >> name) names.insert(name);
    return names;
}

TEST(Exports, AreAllTheDeclaredNames) {
    const auto exported = exported_names();
    const auto declared = declared_names();
    ASSERT_GE(declared.size(), 50u);
    for (const std::string& name : declared) EXPECT_TRUE(exported.contains(name)) << name;
}

TEST(Exports, AreNoOthersThanTheDeclaredNamesAndTheApplicationInterface) {
    const auto declared = declared_names();
    for (const std::string& name : exported_names()) {
        EXPECT_TRUE(name.starts_with("ozk_")) << name;
        for (const char* prefix : {"ozk_serv_", "ozk_vsl_serv_", "ozk_blas_", "ozk_lapack_"}) {
            EXPECT_TRUE(!name.starts_with(prefix) || declared.contains(name)) << name;
        }
    }
}

}  // namespace
