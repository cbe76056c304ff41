#include "orvo_inifiles/inifile.h"

#include <boost/make_shared.hpp>
#include <iostream>
#include <utility>

#include "orvo_inifiles/detail/document.h"

namespace kt {
namespace ini {
namespace {

std::string Text(const boost::filesystem::path& file, const std::vector<TFault>& faults)
{
    std::string text;
    for (const TFault& fault : faults)
        text += (text.empty() ? "" : "\n") + file.string() + ":" + std::to_string(fault.line) + ": " + fault.text;
    return text;
}

}  // namespace

syntax_error::syntax_error(const boost::filesystem::path& file, std::vector<TFault> faults)
    : std::runtime_error(Text(file, faults)), faults_(std::move(faults))
{
}

INIFile::INIFile(const boost::filesystem::path& file, const std::string& section)
    : INIFile(boost::make_shared<Document>(file, nullptr), section)
{
}

INIFile::INIFile(const boost::filesystem::path& file, const std::string& section, std::vector<TFault>& faults)
    : INIFile(boost::make_shared<Document>(file, &faults), section)
{
}

INIFile::INIFile(boost::shared_ptr<Document> document, const std::string& section)
    : document_(std::move(document)), name_(section), section_(document_->Bind(section))
{
}

INIFile INIFile::Section(const std::string& name) const
{
    return INIFile(document_, name);
}

std::vector<std::string> INIFile::Sections() const
{
    return document_->Sections();
}

const boost::filesystem::path& INIFile::FileName() const
{
    return document_->File();
}

std::size_t INIFile::Line() const
{
    return document_->Line(section_);
}

std::size_t INIFile::Line(const std::string& key) const
{
    const std::uint32_t entry = document_->Find(section_, key);
    return entry == detail::none ? 0 : document_->EntryLine(entry);
}

std::vector<std::string> INIFile::Keys() const
{
    return document_->Keys(section_);
}

bool INIFile::efind(const std::string& key, std::string& out) const
{
    const std::uint32_t entry = document_->Find(section_, key);
    if (entry == detail::none)
        return false;
    const boost::string_view value = document_->Value(entry);
    out.assign(value.data(), value.size());
    return true;
}

void INIFile::set(const std::string& key, const std::string& value)
{
    document_->Set(section_, key, value, false);
}

void INIFile::set(const std::string& key, const std::string& value) const
{
    document_->Set(section_, key, value, true);
}

bool INIFile::IsDefault(const std::string& key) const
{
    const std::uint32_t entry = document_->Find(section_, key);
    return entry != detail::none && document_->IsDefault(entry);
}

void INIFile::print_knf(const std::string& key) const
{
    std::cout << "[WW] ::INIFile: `" + key + "' not found in [" + SectionName() + "] of " + FileName().string() + "\n"
              << std::flush;
}

void INIFile::Save() const
{
    document_->Save(document_->File());
}

void INIFile::Save(const boost::filesystem::path& file) const
{
    document_->Save(file);
}

INIFile::iterator::iterator(const INIFile* file, const std::string& prefix) : file_(file), position_(0)
{
    const std::string begin = !prefix.empty() && prefix.back() == '*' ? prefix.substr(0, prefix.size() - 1) : prefix;
    for (std::string& key : file->Keys())
        if (key.compare(0, begin.size(), begin) == 0)
            keys_.push_back(std::move(key));
}

INIFile::iterator& INIFile::iterator::operator++()
{
    if (position_ < keys_.size())
        ++position_;
    return *this;
}

const std::string& INIFile::iterator::Key() const
{
    return keys_.at(position_);
}

std::string INIFile::iterator::Value() const
{
    return file_->Value<std::string>(Key());
}

}  // namespace ini
}  // namespace kt
