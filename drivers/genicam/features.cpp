#include "genicam/features.h"

#include <arv.h>

#include <algorithm>
#include <boost/make_shared.hpp>
#include <boost/variant/get.hpp>
#include <cmath>
#include <limits>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "dev/camera/video_property.h"
#include "genicam/asked.h"
#include "genicam/feature_node.h"
#include "genicam/item.h"

namespace genicam {
namespace {

namespace videoprop = dev::camera::videoprop;
namespace attribute = dev::camera::videoprop::attribute;

using Mode = attribute::mode::Type;

constexpr std::chrono::milliseconds follow_interval(250);
constexpr std::chrono::seconds look_interval(1);
constexpr std::chrono::seconds silence_interval(10);  // for others to find out that a silent camera is gone

/// By more than what gets lost between a camera's formulas and single precision.
bool Differ(const TValue& one, const TValue& other)
{
    const double* a = boost::get<double>(&one);
    const double* b = boost::get<double>(&other);
    return a && b ? std::abs(*a - *b) > 1e-6 * std::max(std::abs(*a), std::abs(*b)) : one != other;
}

/// For CAutoMode. Without a number to look at there is nothing that could settle.
struct TReading
{
    double value = std::numeric_limits<double>::quiet_NaN();
    double tolerance = 0.0;
};

TReading ReadingOf(const TItem& item)
{
    TReading reading;
    double step = 0.0;
    if (const long* integer = boost::get<long>(&item.taken)) {
        reading.value = static_cast<double>(*integer);
        step = static_cast<double>(item.integer.step);
    } else if (const double* real = boost::get<double>(&item.taken)) {
        reading.value = *real;
        step = item.real.step;
    }
    reading.tolerance = std::max(0.5 * step, 1e-3 * std::abs(reading.value));
    return reading;
}

/// What is to be made known once no lock is held.
struct TNews
{
    std::set<std::size_t> items;
    std::vector<std::string> sentences;
};

}  // namespace

/// Locks, in the order in which they are taken: gate_, which whoever talks to the camera holds all the while; the lock
/// of CAccess; values_. Whoever hears of a change may read and set attributes, so nothing is made known under a lock.
class CFeatures::CImpl : public std::enable_shared_from_this<CFeatures::CImpl>
{
public:
    CImpl(CAccess& access, const capture::Tell& tell) : access_(&access), tell_(tell) {}

    void Open();
    void Close();
    void Reapply();
    void Tend(Clock::time_point now);
    const capture::CSource::VideoProperties& Properties() const { return properties_; }

private:
    videoprop::Attribute MakeAttribute(std::size_t index);
    void Set(std::size_t index, const TValue& value);
    TValue Taken(std::size_t index) const;
    bool IsEnabled(std::size_t index) const;

    bool IsGoverned(const TItem& item) const;
    bool CanBeSet(const TItem& item) const;
    void CheckAllowed(const TItem& item, const TValue& value) const;
    void Give(_ArvDevice* device, std::size_t index, const TValue& value, TNews& news);
    void Refresh(_ArvDevice* device, std::size_t index, TNews& news);
    bool Survey(_ArvDevice* device, std::size_t index, TNews& news);
    void RefreshRelated(_ArvDevice* device, std::size_t index, TNews& news);
    bool Follow(_ArvDevice* device, std::size_t index, Clock::time_point now, TNews& news);
    bool Look(_ArvDevice* device, Clock::time_point now, TNews& news);

    void ReapplyTo(_ArvDevice* device, TNews& news);

    void Publish(std::unique_lock<std::mutex>& gate, const TNews& news) const;

    std::mutex gate_;
    CAccess* access_;  ///< null once closed
    const capture::Tell tell_;
    std::vector<TItem> items_;
    CAsked asked_;
    capture::CSource::VideoProperties properties_;
    Clock::time_point last_follow_{};
    Clock::time_point last_look_{};
    std::size_t next_look_ = 0;

    mutable std::mutex values_;  ///< what an item has taken, and whether it is enabled
};

void CFeatures::CImpl::Open()
{
    std::vector<std::string> complaints;
    access_->With([&](_ArvCamera* camera) { items_ = MakeItems(arv_camera_get_device(camera), complaints); });
    for (std::size_t i = 0; i < items_.size(); ++i) {
        TItem& item = items_[i];
        auto found = std::find_if(properties_.begin(), properties_.end(), videoprop::HasName(item.place.property));
        if (found == properties_.end())
            found =
                properties_.insert(found, boost::make_shared<dev::camera::VideoProperty>(item.place.property, nullptr));
        item.enabled = item.enabled && CanBeSet(item);
        item.shown = MakeAttribute(i);
        item.shown->Enabled(item.enabled);
        (*found)->AddAttribute(*item.shown);
    }
    if (tell_)
        std::for_each(complaints.begin(), complaints.end(), tell_);
}

videoprop::Attribute CFeatures::CImpl::MakeAttribute(std::size_t index)
{
    const std::shared_ptr<CImpl> self = shared_from_this();
    const TItem& item = items_[index];
    const std::string& name = item.place.attribute;
    const std::string& unit = item.place.unit;
    const auto set_text = [self, index](const std::string& text) { self->Set(index, text); };
    const auto get_text = [self, index] { return boost::get<std::string>(self->Taken(index)); };

    if (item.place.read_only)
        return attribute::Label(name, set_text, [self, index] { return self->items_[index].Text(self->Taken(index)); });
    if (item.mode) {
        std::vector<Mode> allowed;
        for (const Mode mode : {Mode::Manual, Mode::Auto, Mode::Once})
            if (std::find(item.entries.begin(), item.entries.end(), EntryOf(mode)) != item.entries.end())
                allowed.push_back(mode);
        return attribute::Mode(
            allowed, [self, index](Mode mode) { self->Set(index, EntryOf(mode)); },
            [self, index] { return ModeOf(self->Taken(index)); });
    }
    switch (item.kind) {
        case ValueKind::Real:
            return attribute::Range<double>(
                name, [self, index](double value) { self->Set(index, value); },
                [self, index] { return boost::get<double>(self->Taken(index)); }, item.real.min, item.real.max,
                item.real.step, unit);
        case ValueKind::Integer:
            return attribute::Range<long>(
                name, [self, index](long value) { self->Set(index, value); },
                [self, index] { return boost::get<long>(self->Taken(index)); }, item.integer.min, item.integer.max,
                item.integer.step, unit);
        case ValueKind::Boolean:
            return attribute::Switch(
                name, [self, index](bool value) { self->Set(index, value); },
                [self, index] { return boost::get<bool>(self->Taken(index)); });
        case ValueKind::Choice:
            return attribute::Choice(name, set_text, get_text, item.entries);
        default:
            return attribute::Text(name, set_text, get_text);
    }
}

void CFeatures::CImpl::Close()
{
    const std::lock_guard<std::mutex> gate(gate_);
    access_ = nullptr;
    // The attributes hold this object, which must not hold them as well.
    for (TItem& item : items_)
        item.shown = boost::none;
    properties_.clear();
}

TValue CFeatures::CImpl::Taken(std::size_t index) const
{
    const std::lock_guard<std::mutex> lock(values_);
    return items_[index].taken;
}

bool CFeatures::CImpl::IsEnabled(std::size_t index) const
{
    const std::lock_guard<std::mutex> lock(values_);
    return items_[index].enabled;
}

bool CFeatures::CImpl::IsGoverned(const TItem& item) const
{
    return item.governor && items_[*item.governor].mode->Mode() != Mode::Manual;
}

/// The pixel format is the frames', by "FB": it shows what there is to choose from, and nobody chooses here.
bool CFeatures::CImpl::CanBeSet(const TItem& item) const
{
    return !item.place.read_only && !IsGoverned(item) && item.place.feature != "PixelFormat";
}

void CFeatures::CImpl::Set(std::size_t index, const TValue& value)
{
    TNews news;
    std::unique_lock<std::mutex> gate(gate_);
    TItem& item = items_[index];
    try {
        if (access_ == nullptr)
            throw std::runtime_error("found a source that is closed, wanted one that is open");
        CheckAllowed(item, value);
        access_->With([&](_ArvCamera* camera) {
            _ArvDevice* const device = arv_camera_get_device(camera);
            Give(device, index, value, news);
            const bool was_automatic = item.mode && item.mode->Mode() != Mode::Manual;
            if (item.mode)
                item.mode->Asked(ModeOf(value));
            RefreshRelated(device, index, news);
            if (was_automatic && item.mode->Mode() == Mode::Manual)
                asked_.AddResult(items_, index);
            else
                asked_.Add(items_, index, value);
        });
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(item.place.Name() + ": " + error.what());
    }
    // Whoever set it may still show what was asked.
    news.items.insert(index);
    Publish(gate, news);
}

void CFeatures::CImpl::CheckAllowed(const TItem& item, const TValue& value) const
{
    if (item.place.read_only)
        throw std::runtime_error("found " + item.Text(value) + ", wanted nothing: it can only be read");
    if (IsGoverned(item)) {
        const TItem& governor = items_[*item.governor];
        throw std::runtime_error("found " + governor.place.Name() + " " +
                                 attribute::mode::Label(governor.mode->Mode()) + ", wanted Manual");
    }
    if (item.place.feature == "PixelFormat" && value != item.taken)
        throw std::runtime_error("found " + item.Text(value) + ", wanted " + item.Text(item.taken) +
                                 ", the format of the frames by FB; to have another, change FB");
}

/// Writes a value and reads back what became of it. Throws when the camera does not take it.
void CFeatures::CImpl::Give(_ArvDevice* device, std::size_t index, const TValue& value, TNews& news)
{
    const TItem& item = items_[index];
    const CFeatureNode node(device, item.place.feature);
    if (node.Kind() != item.kind)
        throw std::runtime_error("found a camera without " + item.place.feature + ", wanted the one that was opened");
    node.Write(value, item.place.unit);
    Refresh(device, index, news);
    // A camera may be through with Once already.
    const bool over = item.mode && ModeOf(value) == Mode::Once;
    if (!over && Differ(value, item.taken))
        news.sentences.push_back(item.place.Name() + ": asked " + item.Text(value) + ", the camera took " +
                                 item.Text(item.taken));
}

void CFeatures::CImpl::Refresh(_ArvDevice* device, std::size_t index, TNews& news)
{
    TItem& item = items_[index];
    const CFeatureNode node(device, item.place.feature);
    const bool available = node.Kind() == item.kind && node.IsAvailable();
    const TValue value = available ? node.Read() : item.taken;
    const bool enabled = available && CanBeSet(item);
    if (value == item.taken && enabled == item.enabled)
        return;
    {
        const std::lock_guard<std::mutex> lock(values_);
        item.taken = value;
        item.enabled = enabled;
    }
    news.items.insert(index);
}

/// A refresh beside the way: a feature that cannot be read keeps its last value. Returns false when the camera does not
/// answer.
bool CFeatures::CImpl::Survey(_ArvDevice* device, std::size_t index, TNews& news)
{
    try {
        Refresh(device, index, news);
    } catch (const CNoAnswer&) {
        return false;
    } catch (const std::runtime_error&) {
    }
    return true;
}

/// What may have changed with an item: its neighbours, what it selects, and the two settings that limit each other.
void CFeatures::CImpl::RefreshRelated(_ArvDevice* device, std::size_t index, TNews& news)
{
    for (std::size_t i = 0; i < items_.size(); ++i) {
        const std::string& property = items_[i].place.property;
        const std::vector<std::size_t>& selectors = items_[i].selectors;
        const bool is_related = property == items_[index].place.property || property == "Exposure" ||
                                property == "Frame Rate" ||
                                std::find(selectors.begin(), selectors.end(), index) != selectors.end();
        if (is_related && !Survey(device, i, news))
            return;
    }
}

void CFeatures::CImpl::Reapply()
{
    TNews news;
    std::unique_lock<std::mutex> gate(gate_);
    try {
        access_->With([&](_ArvCamera* camera) {
            for (std::size_t i = 0; i < items_.size(); ++i) {
                if (!items_[i].mode || items_[i].mode->Mode() != Mode::Once)
                    continue;
                items_[i].mode->Asked(Mode::Manual);
                asked_.AddResult(items_, i);
                news.sentences.push_back(items_[i].place.Name() + ": Once was cut off; what it had found stays");
            }
            last_follow_ = {};
            ReapplyTo(arv_camera_get_device(camera), news);
        });
    } catch (const std::runtime_error&) {
        // It was gone before anything could be asked.
    }
    Publish(gate, news);
}

void CFeatures::CImpl::ReapplyTo(_ArvDevice* device, TNews& news)
{
    for (const CAsked::TStep& step : asked_.Plan(items_)) {
        try {
            Give(device, step.item, step.value, news);
        } catch (const CNoAnswer&) {
            return;  // it is gone again; what was asked is still there for the next time
        } catch (const std::runtime_error& error) {
            news.sentences.push_back(items_[step.item].place.Name() + ": " + error.what());
        }
    }
    for (std::size_t i = 0; i < items_.size(); ++i) {
        if (!Survey(device, i, news))
            return;
        // In time for the values that it governs: a mode is the first in its property.
        if (items_[i].mode)
            items_[i].mode->Asked(ModeOf(items_[i].taken));
    }
}

void CFeatures::CImpl::Tend(Clock::time_point now)
{
    // Somebody who sets may wait for a camera that does not answer; frames shall not.
    std::unique_lock<std::mutex> gate(gate_, std::try_to_lock);
    if (!gate.owns_lock() || now - last_follow_ < follow_interval)
        return;
    last_follow_ = now;
    TNews news;
    try {
        const bool answers = access_->With([&](_ArvCamera* camera) {
            _ArvDevice* const device = arv_camera_get_device(camera);
            for (std::size_t i = 0; i < items_.size(); ++i)
                if (items_[i].mode && items_[i].mode->Mode() != Mode::Manual && !Follow(device, i, now, news))
                    return false;
            return Look(device, now, news);
        });
        if (!answers)
            last_follow_ = now + silence_interval;
    } catch (const std::runtime_error&) {
        // It is gone; that is for others to notice.
    }
    Publish(gate, news);
}

/// One step of an automatic mode. Returns false when the camera does not answer.
bool CFeatures::CImpl::Follow(_ArvDevice* device, std::size_t index, Clock::time_point now, TNews& news)
{
    TItem& item = items_[index];
    const auto survey = [&] {
        bool answers = Survey(device, index, news);
        for (const std::size_t governed : item.governs)
            answers = answers && Survey(device, governed, news);
        return answers;
    };
    if (!survey())
        return false;
    const bool was_once = item.mode->Mode() == Mode::Once;
    const TReading reading = item.governs.empty() ? TReading() : ReadingOf(items_[item.governs.front()]);
    const CAutoMode::Outcome outcome = item.mode->Saw(now, ModeOf(item.taken), reading.value, reading.tolerance);
    if (outcome == CAutoMode::Outcome::Same)
        return true;
    if (outcome != CAutoMode::Outcome::Changed) {
        try {
            CFeatureNode(device, item.place.feature).Write(EntryOf(Mode::Manual), "");
        } catch (const CNoAnswer&) {
            return false;
        } catch (const std::runtime_error& error) {
            news.sentences.push_back(item.place.Name() + ": Once does not end: " + error.what());
            item.mode->Asked(Mode::Once);  // for another try, but not at once
            return true;
        }
        item.mode->Asked(Mode::Manual);
    }
    if (outcome == CAutoMode::Outcome::TimedOut)
        news.sentences.push_back(item.place.Name() + ": Once took longer than " +
                                 std::to_string(CAutoMode::longest_time().count()) + " s and was ended");
    const bool answers = survey();
    if (was_once)
        asked_.AddResult(items_, index);
    return answers;
}

/// Reads the next one of the values that the camera alone changes, a temperature for instance. Returns false when
/// the camera does not answer.
bool CFeatures::CImpl::Look(_ArvDevice* device, Clock::time_point now, TNews& news)
{
    if (now - last_look_ < look_interval)
        return true;
    last_look_ = now;
    for (std::size_t tried = 0; tried < items_.size(); ++tried) {
        const std::size_t index = next_look_++ % items_.size();
        if (items_[index].place.read_only && items_[index].kind != ValueKind::Text)
            return Survey(device, index, news);
    }
    return true;
}

void CFeatures::CImpl::Publish(std::unique_lock<std::mutex>& gate, const TNews& news) const
{
    std::vector<std::pair<std::size_t, videoprop::Attribute>> changed;
    for (const std::size_t i : news.items)
        if (items_[i].shown)
            changed.emplace_back(i, *items_[i].shown);
    gate.unlock();
    for (auto& item : changed) {
        // Another thread may publish what came after; whoever is last shows the latest.
        bool enabled = false;
        do {
            enabled = IsEnabled(item.first);
            item.second.Enabled(enabled);
        } while (enabled != IsEnabled(item.first));
        item.second.Update();
    }
    if (tell_)
        std::for_each(news.sentences.begin(), news.sentences.end(), tell_);
}

CFeatures::CFeatures(CAccess& access, const capture::Tell& tell) : impl_(std::make_shared<CImpl>(access, tell))
{
    try {
        impl_->Open();
    } catch (...) {
        impl_->Close();
        throw;
    }
}

CFeatures::~CFeatures()
{
    impl_->Close();
}

const capture::CSource::VideoProperties& CFeatures::Properties() const
{
    return impl_->Properties();
}

void CFeatures::Reapply()
{
    impl_->Reapply();
}

void CFeatures::Tend(Clock::time_point now)
{
    impl_->Tend(now);
}

}  // namespace genicam
