// The driver "gst": whatever GStreamer can open, as a camera.
#include "capture/faults.h"
#include "capture/identity.h"
#include "capture/source.h"
#include "gst/pipeline.h"
#include "gst/plan.h"
#include "gst/settings.h"

namespace gst {

namespace {

/// Who the first element says it is that has a device; what it does not say, like most streams, is empty.
capture::TIdentity IdentityOf(const std::vector<TElement>& elements)
{
    capture::TIdentity identity;
    for (const TElement& element : elements) {
        const GstElementFactory* const factory = gst_element_get_factory(element.element.get());
        const std::string kind = factory != nullptr ? GST_OBJECT_NAME(factory) : "";
        if (kind == "rtspsrc")
            identity.interface = "RTSP";
        if (kind != "v4l2src")
            continue;
        gchar* name = nullptr;
        g_object_get(element.element.get(), "device-name", &name, nullptr);
        const CRef<gchar> owned(name);
        identity.model = name != nullptr ? name : "";
        identity.interface = "V4L2";
        break;
    }
    return identity;
}

/// Compares what the device says; what it does not say is told where the section wants it.
void CompareIdentity(const capture::TRequest& request, capture::TIdentity identity)
{
    if (identity.model.empty())
        return;
    for (const auto& row : {std::make_pair("VENDOR", &identity.vendor), std::make_pair("SERIAL", &identity.serial)})
        if (request.settings.efind(row.first, *row.second) && !row.second->empty() && request.tell)
            request.tell(std::string(row.first) + ": found a device that does not say, wanted \"" + *row.second + "\"");
    capture::CheckIdentity(request.settings, identity, request.tell);
}

/// Once its run is over, its settings refuse to be set.
class CGstSource : public capture::CSource
{
public:
    CGstSource(TPlan plan, const std::string& format, const capture::Tell& tell)
        : pipeline_(std::make_shared<CPipeline>(std::move(plan), format, tell))
    {
    }
    ~CGstSource() override { pipeline_->Close(); }

    void Open()
    {
        pipeline_->Open();
        identity_ = IdentityOf(pipeline_->Elements());
        properties_ = SettingsOf(pipeline_->Elements(), pipeline_->Outlet());
    }

    void Run(capture::CSink& sink) override { pipeline_->Run(sink); }
    void Stop() override { pipeline_->Stop(); }
    capture::TIdentity Identity() const override { return identity_; }
    VideoProperties Properties() override { return properties_; }

    TShape FirstShape() { return pipeline_->FirstShape(); }

private:
    const std::shared_ptr<CPipeline> pipeline_;
    capture::TIdentity identity_;
    VideoProperties properties_;
};

class CGstDriver : public capture::CDriver
{
public:
    std::string Syntax() const override { return "gst:PIPELINE, gst:v4l2:DEVICE or gst:rtsp://HOST/PATH"; }

    std::string Description() const override
    {
        return "The frames of a GStreamer launch line: V4L2 cameras, network streams, video files, test pictures.";
    }

    std::vector<std::string> Keys() const override { return {sync_key}; }

    std::vector<capture::TFault> Check(const capture::TRequest& request) const override
    {
        std::vector<capture::TFault> faults;
        Read(request, &faults);
        return faults;
    }

    std::unique_ptr<capture::CSource> Open(const capture::TRequest& request) const override
    {
        std::vector<capture::TFault> faults;
        TPlan plan = Read(request, &faults);
        capture::ThrowFaults(faults);
        std::unique_ptr<CGstSource> source(new CGstSource(std::move(plan), request.format, request.tell));
        source->Open();
        CompareIdentity(request, source->Identity());
        return source;
    }

    std::vector<std::string> Locations() const override { return FindDevices(); }

    capture::TDescription Describe(const capture::TRequest& request) const override
    {
        std::vector<capture::TFault> faults;
        TPlan plan = ReadPlan(request, &faults);
        capture::ThrowFaults(faults);
        CGstSource source(std::move(plan), "", request.tell);
        source.Open();
        return {source.Identity(), source.FirstShape().Descriptor()};
    }

private:
    static TPlan Read(const capture::TRequest& request, std::vector<capture::TFault>* faults)
    {
        TPlan plan = ReadPlan(request, faults);
        try {
            if (!CapsOf(request.format))
                faults->push_back({"FB", request.format, "one of " + PixelFormatNames() + " from this source"});
        } catch (const std::invalid_argument&) {
            // no "FB" at all, which is the host's to tell
        }
        return plan;
    }
};

}  // namespace

}  // namespace gst

capture::CDriver* orvo_capture_driver_2()
{
    static gst::CGstDriver driver;
    return &driver;
}
