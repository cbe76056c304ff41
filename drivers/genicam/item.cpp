#include "genicam/item.h"

#include <boost/variant/get.hpp>
#include <map>
#include <stdexcept>

namespace genicam {
namespace {

TItem MakeItem(_ArvDevice* device, const TPlace& place)
{
    const CFeatureNode node(device, place.feature);
    TItem item;
    item.place = place;
    item.kind = node.Kind();
    item.entries = node.Entries();
    if (item.kind == ValueKind::Real) {
        item.real = node.RealLimits();
        item.taken = 0.0;
    } else if (item.kind == ValueKind::Integer) {
        item.integer = node.IntegerLimits();
        item.taken = 0L;
    } else if (item.kind == ValueKind::Boolean) {
        item.taken = false;
    } else if (place.attribute == "Mode" && IsAutomatic(item.entries)) {
        item.taken = EntryOf(CAutoMode::Type::Manual);
        item.mode = CAutoMode(CAutoMode::Type::Manual);
    } else {
        item.taken = item.entries.empty() ? std::string() : item.entries.front();
    }
    const bool available = node.IsAvailable();
    if (available)
        item.taken = node.Read();
    if (item.mode)
        item.mode->Asked(ModeOf(item.taken));
    item.enabled = available;
    return item;
}

void Link(_ArvDevice* device, std::vector<TItem>& items)
{
    std::map<std::string, std::size_t> index;
    for (std::size_t i = 0; i < items.size(); ++i)
        index[items[i].place.feature] = i;
    for (std::size_t i = 0; i < items.size(); ++i) {
        const auto governor = index.find(items[i].place.governor);
        if (governor != index.end()) {
            items[i].governor = governor->second;
            items[governor->second].governs.push_back(i);
        }
        for (const std::string& feature : CFeatureNode(device, items[i].place.feature).Selects()) {
            const auto selected = index.find(feature);
            if (selected != index.end())
                items[selected->second].selectors.push_back(i);
        }
    }
}

}  // namespace

std::string TItem::Text(const TValue& value) const
{
    return mode ? dev::camera::videoprop::attribute::mode::Label(ModeOf(value)) : genicam::Text(value, place.unit);
}

std::vector<TItem> MakeItems(_ArvDevice* device, std::vector<std::string>& complaints)
{
    std::vector<TItem> items;
    for (const TPlace& place : ListFeatures(device, complaints)) {
        try {
            items.push_back(MakeItem(device, place));
        } catch (const std::runtime_error& error) {
            complaints.push_back(place.feature + ": left out: " + error.what());
        }
    }
    Link(device, items);
    return items;
}

std::string EntryOf(CAutoMode::Type mode)
{
    using Type = CAutoMode::Type;
    return mode == Type::Manual ? "Off" : mode == Type::Auto ? "Continuous" : "Once";
}

CAutoMode::Type ModeOf(const TValue& entry)
{
    using Type = CAutoMode::Type;
    const std::string& name = boost::get<std::string>(entry);
    return name == "Off" ? Type::Manual : name == "Once" ? Type::Once : Type::Auto;
}

}  // namespace genicam
