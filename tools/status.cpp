// How much of the catalogue is built: counts from the catalogue beside what the kernel library really
// exports.

#include <dlfcn.h>
#include <fmt/core.h>

#include <string>

#include "vml/catalogue.hpp"

namespace {

using namespace ozk::vml;

constexpr const char* kLevels[] = {"LAynn", "HAynn", "EPnnn"};
constexpr const char* kSuffixes[2][4] = {{"", "_HA", "_21", "_11"}, {"", "_HA", "_50", "_26"}};

struct Exported {
    int functions = 0, kernels = 0, entry_points = 0;
};

Exported count_exports(void* library) {
    Exported count;
    for (const CatalogueRow& row : kCatalogue) {
        for (int form = 0; form < (row.strided ? 2 : 1); ++form) {
            const std::string name = row.type + std::string(row.name) + (form == 1 ? "I" : "");
            const auto exported = [&](const std::string& symbol) {
                return dlsym(library, symbol.c_str()) != nullptr;
            };
            count.functions +=
                exported("ozk_vml_kernel_" + name + "_ttab") && exported("ozk_vml_kernel_" + name + "_ctab");
            for (size_t slot = 0; slot < 3; ++slot) {
                if (row.family[slot] == "no") continue;
                count.kernels +=
                    exported("ozk_vml_kernel_" + name + "_" + std::string(row.family[slot]) + kLevels[slot]);
            }
            const bool wide = row.type == 'd' || row.type == 'z';
            for (const char* suffix : kSuffixes[wide]) count.entry_points += exported("_vml" + name + suffix);
        }
    }
    return count;
}

}  // namespace

int main() {
    void* library = dlopen(OZK_KERNEL_LIBRARY, RTLD_NOW);
    if (library == nullptr) {
        fmt::print(stderr, "ozk_status: {}\n", dlerror());
        return 1;
    }
    constexpr CatalogueCounts all = count_catalogue(false);
    const Exported exported = count_exports(library);
    fmt::print("{:<14}{:>8}{:>10}\n", "", "exist", "catalogue");
    fmt::print("{:<14}{:>8}{:>10}\n", "functions", exported.functions, all.functions);
    fmt::print("{:<14}{:>8}{:>10}\n", "kernels", exported.kernels, all.kernels());
    fmt::print("{:<14}{:>8}{:>10}\n", "entry points", exported.entry_points,
               all.functions * kEntryPointsPerFunction);
    fmt::print("\nbuilt:");
    for (const CatalogueRow& row : kCatalogue) {
        if (row.built) fmt::print(" {}{}", row.type, row.name);
    }
    fmt::print("\n");
}
