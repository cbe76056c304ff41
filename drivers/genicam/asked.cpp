#include "genicam/asked.h"

#include <algorithm>
#include <map>
#include <set>

namespace genicam {

using Mode = CAutoMode::Type;

void CAsked::Add(const std::vector<TItem>& items, std::size_t item, const TValue& value)
{
    TAsk ask = {{item, value}, {}};
    for (const std::size_t selector : items[item].selectors)
        ask.selectors.emplace_back(selector, items[selector].taken);
    const bool is_automatic = items[item].mode && ModeOf(value) != Mode::Manual;
    const auto is_replaced = [&](const TAsk& other) {
        return (other.step.item == item && other.selectors == ask.selectors) ||
               (is_automatic && items[other.step.item].governor == item);
    };
    asks_.erase(std::remove_if(asks_.begin(), asks_.end(), is_replaced), asks_.end());
    if (!is_automatic || ModeOf(value) == Mode::Auto)
        asks_.push_back(ask);
}

void CAsked::AddResult(const std::vector<TItem>& items, std::size_t mode)
{
    Add(items, mode, EntryOf(Mode::Manual));
    for (const std::size_t governed : items[mode].governs)
        Add(items, governed, items[governed].taken);
}

std::vector<CAsked::TStep> CAsked::Plan(const std::vector<TItem>& items) const
{
    std::set<std::size_t> manual;
    std::vector<TStep> values;
    std::vector<TStep> automatic;
    std::map<std::size_t, TValue> selected;  // as the steps leave it
    std::set<std::size_t> selectors;
    const auto give = [&](std::size_t item, const TValue& value) {
        values.push_back({item, value});
        selected[item] = value;
    };
    for (const TAsk& ask : asks_) {
        const TItem& item = items[ask.step.item];
        if (item.mode) {
            if (ModeOf(ask.step.value) == Mode::Manual)
                manual.insert(ask.step.item);
            else
                automatic.push_back(ask.step);
            continue;
        }
        // A camera that lost its power may have come back with a mode that nobody asked for.
        if (item.governor)
            manual.insert(*item.governor);
        for (const auto& selector : ask.selectors) {
            selectors.insert(selector.first);
            if (selected.count(selector.first) == 0 || selected[selector.first] != selector.second)
                give(selector.first, selector.second);
        }
        give(ask.step.item, ask.step.value);
    }
    for (const std::size_t selector : selectors)
        if (selected[selector] != items[selector].taken)
            give(selector, items[selector].taken);

    std::vector<TStep> plan;
    for (const std::size_t mode : manual)
        plan.push_back({mode, EntryOf(Mode::Manual)});
    plan.insert(plan.end(), values.begin(), values.end());
    plan.insert(plan.end(), automatic.begin(), automatic.end());
    return plan;
}

}  // namespace genicam
