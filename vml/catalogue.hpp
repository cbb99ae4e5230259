// The catalogue as data: one row for each function, for whoever wants to loop over it.
#pragma once

#include <array>
#include <string_view>

namespace ozk::vml {

struct CatalogueRow {
    char type;              // s, d, c, z
    std::string_view name;  // of the function, without its strided form's I
    std::string_view shape;
    bool strided;                // whether it has a strided form too
    std::string_view family[3];  // EX, H8 or no, in slot order LA, HA, EP
    bool built;
};

inline constexpr bool is_strided(std::string_view shape) {
    return !shape.starts_with("pack") && !shape.starts_with("unpack");
}

inline constexpr CatalogueRow kCatalogue[] = {
#define OZK_FN(p, function, shape, la, ha, ep, state, ...) \
    {#p[0], #function, #shape, is_strided(#shape), {#la, #ha, #ep}, std::string_view(#state) == "built"},
#include "vml/catalogue.def"
#undef OZK_FN
};

// Functions (each strided form counts), and kernels of a family at a level, of which `built` or all exist.
struct CatalogueCounts {
    int functions = 0;
    std::array<int, 3> ex{}, h8{};  // in slot order

    constexpr int kernels() const { return ex[0] + ex[1] + ex[2] + h8[0] + h8[1] + h8[2]; }
};

inline constexpr CatalogueCounts count_catalogue(bool built_only) {
    CatalogueCounts counts;
    for (const CatalogueRow& row : kCatalogue) {
        if (built_only && !row.built) continue;
        const int forms = row.strided ? 2 : 1;
        counts.functions += forms;
        for (size_t slot = 0; slot < 3; ++slot) {
            if (row.family[slot] == "EX") counts.ex[slot] += forms;
            if (row.family[slot] == "H8") counts.h8[slot] += forms;
        }
    }
    return counts;
}

inline constexpr int kEntryPointsPerFunction = 4;

}  // namespace ozk::vml
