#include "record/event_log.h"

#include <fmt/format.h>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <mutex>
#include <utility>
#include <vector>

#include "data/event_writer.h"
#include "orvo_data/event.h"
#include "orvo_ui/panel_manager.h"
#include "orvo_ui/variable.h"
#include "video/attributes.h"

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

/// None for one that cannot be read; "?" with the reason when reading it failed, since whoever changed it cannot help
/// it.
std::optional<std::string> ReadValue(long id)
{
    const auto variable = ui::PanelManagerInstance().Variable(id);
    if (!variable || !variable->HasValue())
        return std::nullopt;
    try {
        return ValueOf(*variable);
    } catch (const std::exception& error) {
        return fmt::format("? ({})", error.what());
    }
}

/// `17 "Exposure" = 20`: the number tells apart what bears the same label.
std::string ParameterText(long id)
{
    const auto widget = ui::PanelManagerInstance().Widget(id);
    const std::string label = widget.IsNull() ? std::string() : widget.Attr("label");
    return fmt::format("{}{} = {}", id, label.empty() ? "" : " \"" + label + "\"", ReadValue(id).value_or(""));
}

}  // namespace

class CEventLog::CWaiting
{
public:
    explicit CWaiting(Names named) : names(std::move(named)) {}

    const Names names;
    const boost::posix_time::ptime start_utc = boost::posix_time::microsec_clock::universal_time();

    void Note(const std::string& id, std::string text)
    {
        std::replace_if(
            text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
        const std::lock_guard<std::mutex> lock(mutex_);
        if (events_.size() < most_waiting)
            events_.push_back(Event(id, text));
        else
            ++left_out_;
    }

    void NoteChange(long id)
    {
        const auto name = names.find(id);
        if (name == names.end())
            return Note("parameter", ParameterText(id));
        const std::optional<std::string> value = ReadValue(id);
        if (!value)
            return;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (std::exchange(values_[id], value) == value)
                return;
        }
        Note("video", name->second + " = " + *value);
    }

    std::vector<data::CEvent> Take()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (left_out_ > 0)
            events_.push_back(Event("drop", fmt::format("events: too many at once {}", left_out_)));
        left_out_ = 0;
        return std::exchange(events_, {});
    }

private:
    data::CEvent Event(const std::string& id, const std::string& text) const
    {
        const auto time = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start_);
        return data::CEvent(id, boost::posix_time::microseconds(time.count()), text);
    }

    const Clock::time_point start_ = Clock::now();
    std::mutex mutex_;
    std::vector<data::CEvent> events_;
    std::uint64_t left_out_ = 0;
    std::map<long, std::optional<std::string>> values_;  ///< as noted last, of variables with names
};

CEventLog::CEventLog(Names names)
    : waiting_(std::make_shared<CWaiting>(std::move(names))),
      observer_(ui::PanelManagerInstance().Connect([waiting = waiting_](long id) { waiting->NoteChange(id); }))
{
}

CEventLog::~CEventLog()
{
    ui::PanelManagerInstance().Disconnect(observer_);
}

boost::posix_time::ptime CEventLog::Start() const
{
    return waiting_->start_utc;
}

void CEventLog::Note(const std::string& id, const std::string& text)
{
    waiting_->Note(id, text);
}

void CEventLog::NoteValues()
{
    for (const auto& each : waiting_->names)
        waiting_->NoteChange(each.first);
}

void CEventLog::Open(const std::filesystem::path& file)
{
    errno = 0;
    try {
        writer_ = std::make_unique<data::CEventWriter>(file.string(), std::string());
    } catch (const std::runtime_error&) {
        ThrowErrno(file);
    }
    writer_->WriteOn<data::CEventWriter::Caching_Disabled>();  // they come in order
    file_.emplace(file);
}

void CEventLog::Write()
{
    const std::vector<data::CEvent> events = waiting_->Take();
    if (!writer_)
        return;
    for (const data::CEvent& event : events)
        writer_->Dump(event);
    errno = 0;
    if (!writer_->Sync())
        ThrowErrno(file_->Path());
    file_->Check();
}

void CEventLog::Close()
{
    writer_.reset();
}

}  // namespace host
