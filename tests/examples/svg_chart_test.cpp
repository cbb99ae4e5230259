// Fan charts of awkward data.
#include "examples/svg_chart.hpp"

#include "program.hpp"

namespace ozk::examples::test {
namespace {

svg_chart::Figure figure(double level, double growth) {
    svg_chart::Panel panel;
    panel.title = "a < b & \"c\"";
    for (int month = 24000; month <= 24024; month += 3) {
        panel.history_time.push_back(month);
        panel.history.push_back(level);
    }
    svg_chart::Band band{"90%", {}, {}};
    for (int month = 0; month <= 6; ++month) {
        panel.fan_time.push_back(24024 + month);
        panel.median.push_back(level);
        band.low.push_back(level - growth * month);
        band.high.push_back(level + growth * month);
    }
    panel.bands = {band};
    return {panel.title, "", "", {}, "", {panel, panel}};
}

TEST(SvgChart, IsWellFormedWhateverTheTextsAndTheRangeOfLevels) {
    const Folder folder;
    std::string files;
    for (double level : {0.0, 1.0, -3e-7, 1e9})
        for (double relative_growth : {0.0, 1e-12, 0.01, 1.0}) {
            const std::string svg = svg_chart::draw(figure(level, relative_growth * std::abs(level)));
            const std::string name = fmt::format("{} {}.svg", level, relative_growth);
            files += " '" + folder.write(name, svg) + "'";
            for (const char* wrong : {"nan", "inf"}) EXPECT_EQ(svg.find(wrong), svg.npos) << name;
            EXPECT_LT(svg.size(), 30000u) << name;
        }
    const std::string check = folder.write("check.py",
                                           "import sys, xml.dom.minidom as dom\n"
                                           "for file in sys.argv[1:]:\n"
                                           "    title = dom.parse(file).getElementsByTagName('title')[0]\n"
                                           "    assert title.firstChild.data == 'a < b & \"c\"', file\n");
    EXPECT_EQ(std::system(("python3 " + check + files).c_str()), 0);
}

TEST(SvgChart, TicksAreRoundAndFew) {
    for (double span : {1e-9, 0.3, 1.0, 4.9, 7.0, 99.0, 12345.0, 8e11}) {
        const double step = svg_chart::detail::round_step(span, 5);
        EXPECT_LE(span / step, 5.0000001);
        EXPECT_GE(span / step, 2);
        const double digits = step / std::pow(10, std::floor(std::log10(step * 1.0000001)));
        EXPECT_NEAR(
            std::abs(digits - 1) * std::abs(digits - 2) * std::abs(digits - 2.5) * std::abs(digits - 5), 0,
            1e-9)
            << step;
    }
    const auto years = svg_chart::detail::time_ticks(12 * 2001 + 7, 12 * 2012 + 7);
    ASSERT_EQ(years.size(), 6u);
    EXPECT_EQ(years.front().label, "2002");
    EXPECT_EQ(years.front().time, 12 * 2002);
    EXPECT_EQ(years.back().label, "2012");
    const auto quarters = svg_chart::detail::time_ticks(12 * 2009 + 7, 12 * 2010 + 7);
    ASSERT_EQ(quarters.size(), 4u);
    EXPECT_EQ(quarters.front().label, "2009Q4");
}

}  // namespace
}  // namespace ozk::examples::test
