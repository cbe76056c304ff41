#include "rig/nearest.h"

#include <algorithm>

namespace host {

namespace {

constexpr std::size_t longest_name = 64;  // what is longer is no misspelt name, and would cost its square in time

char Lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

std::size_t EditDistance(const std::string& a, const std::string& b)
{
    std::vector<std::size_t> before_last(b.size() + 1);
    std::vector<std::size_t> last(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        before_last.swap(last);
        last.swap(row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const bool same = Lower(a[i - 1]) == Lower(b[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            if (i > 1 && j > 1 && Lower(a[i - 1]) == Lower(b[j - 2]) && Lower(a[i - 2]) == Lower(b[j - 1]))
                row[j] = std::min(row[j], before_last[j - 2] + 1);
        }
    }
    return row[b.size()];
}

std::string Nearest(const std::string& name, const std::vector<std::string>& candidates)
{
    if (name.size() > longest_name)
        return {};
    std::string nearest;
    std::size_t limit = std::max<std::size_t>(1, name.size() / 3) + 1;
    for (const std::string& candidate : candidates) {
        if (candidate.size() > longest_name)
            continue;
        const std::size_t distance = EditDistance(name, candidate);
        if (distance < limit) {
            limit = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

}  // namespace host
