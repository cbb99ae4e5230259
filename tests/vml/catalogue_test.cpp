#include "vml/catalogue.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <map>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "ozk_vml.h"

namespace ozk::vml {
namespace {

const char* const kLevels[] = {"LAynn", "HAynn", "EPnnn"};

void* symbol(const std::string& name) { return dlsym(RTLD_DEFAULT, name.c_str()); }

struct Function {
    std::string name;  // such as dExpI
    const CatalogueRow* row;
};

std::vector<Function> functions() {
    std::vector<Function> result;
    for (const CatalogueRow& row : kCatalogue) {
        const std::string name = row.type + std::string(row.name);
        result.push_back({name, &row});
        if (row.strided) result.push_back({name + "I", &row});
    }
    return result;
}

std::array<std::string, 4> entry_points(const Function& f) {
    const bool narrow = f.row->type == 's' || f.row->type == 'c';
    return {"_vml" + f.name, "_vml" + f.name + "_HA", "_vml" + f.name + (narrow ? "_21" : "_50"),
            "_vml" + f.name + (narrow ? "_11" : "_26")};
}
constexpr int kSlotOfEntryPoint[] = {1, 1, 0, 2};

std::string kernel_name(const Function& f, size_t slot) {
    const size_t own = f.row->family[slot] == "no" ? 1 : slot;
    return "ozk_vml_kernel_" + f.name + "_" + std::string(f.row->family[own]) + kLevels[own];
}

TEST(Catalogue, ExportsEveryNameOfABuiltFunctionAndNoneOfAPlannedOne) {
    for (const Function& f : functions()) {
        std::vector<std::string> names = {"ozk_vml_kernel_" + f.name + "_ttab",
                                          "ozk_vml_kernel_" + f.name + "_ctab"};
        for (const std::string& entry : entry_points(f)) names.push_back(entry);
        for (size_t slot = 0; slot < 3; ++slot) names.push_back(kernel_name(f, slot));
        for (const std::string& name : names) {
            EXPECT_EQ(symbol(name) != nullptr, f.row->built) << name;
        }
    }
}

TEST(Catalogue, FillsEachSlotWithItsOwnKernelOrTheHighAccuracyOne) {
    for (const Function& f : functions()) {
        if (!f.row->built) continue;
        void** table = static_cast<void**>(symbol("ozk_vml_kernel_" + f.name + "_ttab"));
        const float* costs = static_cast<const float*>(symbol("ozk_vml_kernel_" + f.name + "_ctab"));
        ASSERT_NE(table, nullptr);
        for (size_t slot = 0; slot < 3; ++slot) {
            EXPECT_EQ(table[slot], symbol(kernel_name(f, slot))) << f.name << " slot " << slot;
            EXPECT_GT(costs[slot], 0.0f) << f.name << " slot " << slot;
        }
    }
    EXPECT_EQ(ozk_vml_kernel_dExp_ctab[0], 8.727f);
    EXPECT_EQ(ozk_vml_kernel_dExp_ctab[1], 12.409f);
    EXPECT_EQ(ozk_vml_kernel_dExp_ctab[2], 6.902f);
}

std::string output_of(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string text;
    char line[1024];
    while (pipe && std::fgets(line, sizeof line, pipe.get()) != nullptr) text += line;
    return text;
}

// The kernel library's code, disassembled: instructions by function.
const std::map<std::string, std::vector<std::string>>& disassembly() {
    static const auto code = [] {
        std::map<std::string, std::vector<std::string>> functions;
        std::istringstream lines(
            output_of(std::string("objdump -d --no-show-raw-insn -w ") + OZK_KERNEL_LIBRARY));
        std::vector<std::string>* current = nullptr;
        for (std::string text; std::getline(lines, text);) {
            const size_t name = text.find('<');
            if (text.ends_with(">:")) {
                current = &functions[text.substr(name + 1, text.size() - name - 3)];
            } else if (current != nullptr && text.find('\t') != std::string::npos) {
                current->push_back(text.substr(text.find('\t') + 1));
            }
        }
        return functions;
    }();
    return code;
}

TEST(Disassembly, ShowsEachEntryPointAsOneIndirectJump) {
    ASSERT_GT(disassembly().size(), 100u) << "objdump is needed (package binutils)";
    for (const Function& f : functions()) {
        if (!f.row->built) continue;
        const auto entries = entry_points(f);
        for (size_t i = 0; i < entries.size(); ++i) {
            const std::vector<std::string>& code = disassembly().at(entries[i]);
            ASSERT_GE(code.size(), 2u) << entries[i];
            EXPECT_TRUE(code[0].starts_with("lea ") &&
                        code[0].find("<ozk_vml_kernel_" + f.name + "_ttab>") != std::string::npos)
                << entries[i] << ": " << code[0];
            const char* const jumps[] = {"(%rax)", "0x8(%rax)", "0x10(%rax)"};
            EXPECT_TRUE(code[1].starts_with("jmp ") &&
                        code[1].find(std::string("*") + jumps[kSlotOfEntryPoint[i]]) != std::string::npos)
                << entries[i] << ": " << code[1];
            for (size_t k = 2; k < code.size(); ++k)
                EXPECT_TRUE(code[k].find("nop") != std::string::npos || code[k].starts_with("xchg %ax,%ax"))
                    << code[k];
        }
    }
}

TEST(Disassembly, HasNoInstructionBeyondSse42) {
    const std::regex wide_register("%[yz]mm|%k[0-7]");
    size_t instructions = 0;
    for (const auto& [function, code] : disassembly()) {
        for (const std::string& instruction : code) {
            ++instructions;
            // Instructions encoded with VEX or EVEX begin with v; those without that do are about virtual
            // machines and segment checks, which no kernel has any use for either.
            ASSERT_NE(instruction[0], 'v') << function << ": " << instruction;
            ASSERT_FALSE(std::regex_search(instruction, wide_register)) << function << ": " << instruction;
        }
    }
    EXPECT_GT(instructions, 1000u);
}

TEST(Library, KeepsThirtyTwoBytesAThreadOnTheInitialExecModel) {
    const std::string library = OZK_KERNEL_LIBRARY;
    const std::string segments = output_of("readelf -lW " + library);
    std::smatch tls;
    ASSERT_TRUE(std::regex_search(segments, tls, std::regex("TLS +\\S+ \\S+ \\S+ \\S+ (0x[0-9a-f]+)")))
        << segments;
    EXPECT_EQ(std::stoul(tls[1], nullptr, 16), 32u);
    EXPECT_NE(output_of("readelf -dW " + library).find("STATIC_TLS"), std::string::npos);
    EXPECT_EQ(output_of("nm -D " + library).find("__tls_get_addr"), std::string::npos);
}

TEST(Library, NeedsOnlyTheCoreAndTheSystemAndLooksBesideItself) {
    const std::string dynamic = output_of(std::string("readelf -dW ") + OZK_KERNEL_LIBRARY);
    EXPECT_NE(dynamic.find("Library soname: [libozk_vml_mc3.so.2]"), std::string::npos);
    EXPECT_NE(dynamic.find("Library runpath: [$ORIGIN]"), std::string::npos);
    const std::regex needed("Shared library: \\[(.*)\\]");
    for (std::sregex_iterator i(dynamic.begin(), dynamic.end(), needed), end; i != end; ++i) {
        const std::string name = (*i)[1];
        const bool sanitizer = name.starts_with("libasan") || name.starts_with("libubsan");
        EXPECT_TRUE(sanitizer || name == "libozk_core.so.2" || name == "libc.so.6" || name == "libm.so.6" ||
                    name == "libstdc++.so.6" || name == "libgcc_s.so.1" || name == "ld-linux-x86-64.so.2")
            << name;
    }
}

TEST(Library, KnowsItsNumber) { EXPECT_EQ(dll_cpu_version(), 5); }

}  // namespace
}  // namespace ozk::vml
