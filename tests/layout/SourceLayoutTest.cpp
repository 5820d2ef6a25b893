// The shape of the product's sources: every file short enough to read at
// once, and no two files that need each other. Reads the source tree, so it
// catches a new file as soon as it is added.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr size_t cMaxLines = 450;
const char* const cProductDirs[] = {"Utilities", "Sonar4", "Database", "tasks"};

bool IsSource(const fs::path& Path)
{
    const std::string extension = Path.extension().string();
    return extension == ".h" || extension == ".cpp";
}

// Every product source, relative to the repository root.
std::vector<fs::path> ProductSources()
{
    std::vector<fs::path> sources;
    for (const char* dir : cProductDirs) {
        for (const auto& entry : fs::recursive_directory_iterator(fs::path(VESK_SOURCE_DIR) / dir)) {
            if (entry.is_regular_file() && IsSource(entry.path())) {
                sources.push_back(fs::relative(entry.path(), VESK_SOURCE_DIR));
            }
        }
    }
    std::sort(sources.begin(), sources.end());
    return sources;
}

std::vector<std::string> LinesOf(const fs::path& Source)
{
    std::ifstream in(fs::path(VESK_SOURCE_DIR) / Source);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

// A header and its source file are one unit: "Database/DatabaseFile".
std::string UnitOf(const fs::path& Source)
{
    return (Source.parent_path() / Source.stem()).generic_string();
}

// Units each unit includes (quoted includes only, relative to the root),
// itself left out.
std::map<std::string, std::set<std::string>> IncludeGraph(const std::vector<fs::path>& Sources)
{
    std::set<std::string> known;
    for (const fs::path& source : Sources) {
        known.insert(source.generic_string());
    }
    std::map<std::string, std::set<std::string>> graph;
    for (const fs::path& source : Sources) {
        const std::string unit = UnitOf(source);
        graph[unit];
        for (const std::string& line : LinesOf(source)) {
            const std::string directive = "#include \"";
            if (line.compare(0, directive.size(), directive) != 0) {
                continue;
            }
            const size_t close = line.find('"', directive.size());
            const std::string included = line.substr(directive.size(), close - directive.size());
            if (known.count(included) != 0 && UnitOf(included) != unit) {
                graph[unit].insert(UnitOf(included));
            }
        }
    }
    return graph;
}

// One circle of includes, written "A -> B -> A", or empty when there is none.
std::string FindCycle(const std::map<std::string, std::set<std::string>>& Graph)
{
    enum Mark { Unvisited, OnPath, Done };
    std::map<std::string, Mark> mark;
    std::vector<std::string> path;
    std::string cycle;
    std::function<bool(const std::string&)> visit = [&](const std::string& Unit) {
        mark[Unit] = OnPath;
        path.push_back(Unit);
        for (const std::string& next : Graph.at(Unit)) {
            if (mark[next] == OnPath) {
                for (auto it = std::find(path.begin(), path.end(), next); it != path.end(); ++it) {
                    cycle += *it + " -> ";
                }
                cycle += next;
                return true;
            }
            if (mark[next] == Unvisited && visit(next)) {
                return true;
            }
        }
        path.pop_back();
        mark[Unit] = Done;
        return false;
    };
    for (const auto& unit : Graph) {
        if (mark[unit.first] == Unvisited && visit(unit.first)) {
            break;
        }
    }
    return cycle;
}

TEST(SourceLayoutTest, NoProductFileIsLongerThanTheLimit)
{
    const std::vector<fs::path> sources = ProductSources();
    ASSERT_GT(sources.size(), 50u) << "the source tree was not found at " << VESK_SOURCE_DIR;
    for (const fs::path& source : sources) {
        EXPECT_LE(LinesOf(source).size(), cMaxLines) << source.generic_string();
    }
}

TEST(SourceLayoutTest, NoProductFilesIncludeEachOther)
{
    EXPECT_EQ(FindCycle(IncludeGraph(ProductSources())), "");
}

} // namespace
