// Speed against the fastest peers, in one process.

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "bench/driver.hpp"
#include "tools/accuracy/report.hpp"

int main(int argc, char** argv) {
    using namespace ozk::bench;
    std::string filter, page;
    bool list = false, planned = false;
    CLI::App app(
        "Speed against the fastest peers: medians in one pinned process, ratios above 1 where this library "
        "is faster.");
    app.add_option("filter", filter, "only cases whose name contains this, such as vml/Exp/d or random");
    app.add_option("--update", page, "replace the tables of this page, of every family that is run whole")
        ->check(CLI::ExistingFile);
    app.add_flag("--list", list, "print the names of the cases");
    app.add_flag("--planned", planned, "also what this library does not have yet: peers alone");
    CLI11_PARSE(app, argc, argv);

    bool any = false;
    for (const Family& family : {vml_family(), complex_family(), random_family(), stats_family(),
                                 splines_family(), sort_family(), fill_family()}) {
        const auto names = family.list(planned);
        const auto matches = [&](const std::string& name) { return name.find(filter) != std::string::npos; };
        const auto matching = std::count_if(names.begin(), names.end(), matches);
        if (matching == 0) continue;
        any = true;
        if (list) {
            for (const std::string& name : names)
                if (matches(name)) fmt::print("{}\n", name);
            continue;
        }
        for (const Section& section : family.run(filter, planned)) {
            fmt::print("## {}\n\n{}\n", section.name, section.text);
            std::fflush(stdout);
            if (page.empty()) continue;
            if (static_cast<size_t>(matching) != names.size()) {
                fmt::print(stderr, "ozk_bench: {}: left alone, the filter leaves out cases\n", section.name);
                continue;
            }
            const std::string text = fmt::format("{}.\n\n{}", ozk::accuracy::machine(), section.text);
            if (const std::string error = ozk::accuracy::update_page(page, section.name, text);
                !error.empty()) {
                fmt::print(stderr, "ozk_bench: {}\n", error);
                return 1;
            }
        }
    }
    if (!any) fmt::print(stderr, "ozk_bench: no case's name contains \"{}\"; --list prints them\n", filter);
    return any ? 0 : 1;
}
