// How much of the catalogue is built: counts from the catalogue, and of what kernels share, beside what the kernel
// library really exports.

#include <dlfcn.h>
#include <fmt/core.h>

#include <iterator>
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

// What kernels share (ozk_vml_scalars.h).
constexpr const char* kScalarFunctions[] = {
    "_sabs_scalar",  "_dabs_scalar",  "fabsl_scalar",  "expl_scalar",   "logl_scalar",  "log1pl_scalar",
    "tanl_scalar",   "tanhl_scalar",  "atanl_scalar",  "atan2l_scalar", "asinl_scalar", "acosl_scalar",
    "asinhl_scalar", "acoshl_scalar", "atanhl_scalar", "reduce_pio2d",  "reduce_pi04l"};
constexpr const char* kConstants[] = {"zero", "one", "minus_one", "infinity", "pos_infinity", "neg_infinity"};
constexpr const char* kCoreTables[] = {"rcp_table_256",  "double_rcp_table_256", "log_table_256",
                                       "logl_table_256", "expl_table_256",       "atanl_table_128"};

// How many of the names the library exports.
template <size_t kCount>
int count_names(void* library, const std::string& prefix, const char* const (&names)[kCount]) {
    int count = 0;
    for (const char* name : names) count += dlsym(library, (prefix + name).c_str()) != nullptr;
    return count;
}

void print_row(const char* what, int exist, size_t all) {
    fmt::print("{:<18}{:>8}{:>10}\n", what, exist, all);
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
    fmt::print("{:<18}{:>8}{:>10}\n", "", "exist", "catalogue");
    print_row("functions", exported.functions, all.functions);
    print_row("kernels", exported.kernels, all.kernels());
    print_row("entry points", exported.entry_points, all.functions * kEntryPointsPerFunction);
    print_row("scalar functions", count_names(library, "ozk_vml_kernel_", kScalarFunctions),
              std::size(kScalarFunctions));
    print_row("constants",
              count_names(library, "ozk_vml_constant_float_", kConstants) +
                  count_names(library, "ozk_vml_constant_double_", kConstants),
              2 * std::size(kConstants));
    print_row("core tables", count_names(library, "ozk_vml_core_", kCoreTables), std::size(kCoreTables));
    fmt::print("\nbuilt:");
    for (const CatalogueRow& row : kCatalogue) {
        if (row.built) fmt::print(" {}{}", row.type, row.name);
    }
    fmt::print("\n");
}
