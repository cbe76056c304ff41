// Random documents and random edits, against a model that keeps lines in a list and knows nothing of places and tables.
#include <gtest/gtest.h>

#include <list>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "framework/orvo_inifiles/folder.h"
#include "orvo_inifiles/inifile.h"

namespace {

using TValues = std::map<std::pair<std::string, std::string>, std::string>;

/// A header has a section, a line of a key a key as well, any other line neither.
struct TLine
{
    std::string section, key, before, value, after, end;
};

/// What a settings file should do, said in the simplest way.
class CModel
{
public:
    std::list<TLine> lines;
    std::string mark;

    std::string Text() const
    {
        std::string text = mark;
        for (const TLine& line : lines)
            text += line.before + line.value + line.after + line.end;
        return text;
    }

    TValues Values() const
    {
        TValues values;
        for (const TLine& line : lines)
            if (!line.key.empty())
                values[{line.section, line.key}] = line.value;
        return values;
    }

    void Set(const std::string& section, const std::string& key, const std::string& value)
    {
        auto last = lines.end();
        for (auto line = lines.begin(); line != lines.end(); ++line) {
            if (line->section == section && line->key == key) {
                line->value = value;
                return;
            }
            if (line->section == section)
                last = line;
        }
        if (last == lines.end()) {
            const std::string end = GiveEnd(last);
            if (!lines.empty())
                lines.push_back({"", "", "", "", "", end});
            lines.push_back({section, "", "[" + section + "]", "", "", end});
            last = std::prev(lines.end());
        }
        const std::string end = GiveEnd(std::next(last));
        lines.insert(std::next(last), {section, key, key + " = ", value, "", end});
    }

private:
    /// The line end of the line before `next`, which gets one if it has none.
    std::string GiveEnd(std::list<TLine>::iterator next)
    {
        if (next == lines.begin())
            return "\n";
        TLine& line = *std::prev(next);
        if (line.end.empty())
            line.end = std::prev(next) == lines.begin() ? "\n" : std::prev(std::prev(next))->end;
        return line.end;
    }
};

class CRandom
{
public:
    explicit CRandom(unsigned int seed) : generator_(seed) {}

    std::size_t Below(std::size_t count) { return generator_() % count; }

    /// Short, so that names meet again, of characters that are troublesome where they are allowed.
    std::string Word(const std::string& alphabet, std::size_t most)
    {
        std::string word;
        for (std::size_t size = 1 + Below(most); word.size() < size;)
            word += alphabet[Below(alphabet.size())];
        // Blanks at the ends belong to no name and no value.
        return word.find_first_of(" \t") == 0 || word.find_last_of(" \t") == word.size() - 1 ? "x" : word;
    }

    std::string Section() { return Word("AB [;#=", 2); }
    std::string Key() { return "K" + Word("AB []", 2); }
    std::string Value() { return Below(4) == 0 ? "" : Word("01.,;#=[] \t\xc3\xa4", 1 + Below(20)); }
    std::string Blanks() { return std::string(Below(3), Below(2) == 0 ? ' ' : '\t'); }

private:
    std::mt19937 generator_;
};

CModel RandomDocument(CRandom& random)
{
    CModel model;
    if (random.Below(4) == 0)
        model.mark = "\xef\xbb\xbf";
    const std::size_t line_feeds = random.Below(3);  // of two: none, some or all lines end with it alone
    std::string section;
    std::set<std::pair<std::string, std::string>> taken;
    for (std::size_t count = random.Below(25); count > 0; --count) {
        TLine line;
        line.end = random.Below(2) < line_feeds ? "\n" : "\r\n";
        const std::size_t kind = random.Below(6);
        const std::string name = random.Section(), key = random.Key();
        if (kind == 0 && taken.insert({name, ""}).second) {
            section = name;
            line.section = section;
            line.before = random.Blanks() + "[" + random.Blanks() + section + random.Blanks() + "]" + random.Blanks();
        } else if (kind > 1 && !section.empty() && taken.insert({section, key}).second) {
            line.section = section;
            line.key = key;
            line.before = random.Blanks() + key + random.Blanks() + "=" + random.Blanks();
            line.value = random.Value();
            // Blanks behind the equals sign stand before an empty value.
            line.after = line.value.empty() ? "" : random.Blanks();
        } else {
            line.before =
                random.Blanks() + std::vector<std::string>{"", "", ";", "#", "; [A]", "#K=1"}[random.Below(6)];
        }
        model.lines.push_back(line);
    }
    if (!model.lines.empty() && random.Below(3) == 0) {
        model.lines.back().end.clear();
        if (model.lines.back().before.empty() && model.lines.back().value.empty())
            model.lines.pop_back();
    }
    return model;
}

TEST(INIFileModel, DoesWhatTheModelDoes)
{
    const test::CFolder folder;
    const std::string name = "rig.ini";
    for (unsigned int seed = 0; seed < 2000; ++seed) {
        CRandom random(seed);
        CModel model = RandomDocument(random);
        const std::string before = model.Text();
        folder.Write(name, before);
        SCOPED_TRACE("seed " + std::to_string(seed) + ":\n" + before);

        kt::ini::INIFile ini(folder / name, "A");
        for (std::size_t edits = random.Below(8); edits > 0; --edits) {
            const std::string section = random.Section(), key = random.Key(), value = random.Value();
            ini.Section(section).set(key, value);
            model.Set(section, key, value);
            if (random.Below(4) == 0) {
                ini.Save();
                ASSERT_EQ(folder.Read(name), model.Text());
                if (random.Below(2) == 0)
                    ini = kt::ini::INIFile(folder / name, "A");
            }
        }
        ini.Save();
        ASSERT_EQ(folder.Read(name), model.Text());

        const kt::ini::INIFile again(folder / name, "A");
        for (const kt::ini::INIFile& document : {ini, again}) {
            TValues values;
            for (const std::string& section : document.Sections())
                for (const std::string& key : document.Section(section).Keys())
                    values[{section, key}] = document.Section(section).Value<std::string>(key);
            ASSERT_EQ(values, model.Values());
        }
    }
}

}  // namespace
