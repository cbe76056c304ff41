// A choice among labelled values.
#ifndef UI_COLLECTION_H
#define UI_COLLECTION_H

#include <boost/property_tree/ptree.hpp>
#include <cstddef>
#include <iostream>
#include <stdexcept>
#include <vector>

#include "ui/adapter.h"
#include "ui/types.h"

namespace ui {
namespace detail {

/// A variable that takes one of the values behind an ordered list of labels. Access_Internal means the value itself,
/// which is not checked against the list; Access_Label means its label. The two modes between throw std::runtime_error
/// "unimplemented"; any other does nothing.
/// Errors of the list are std::runtime_error, naming the label or value; the rest is as with ui::detail::value.
template <typename Label, typename Internal>
class ORVO_DEV_API collection_adapter : public Serializable, public adapter<Internal>
{
public:
    const std::vector<Label>& Labels() const { return labels_; }

    /// The value at a position of the list. Throws std::out_of_range for a position that is none.
    virtual Internal IndexToInternalValue(int index) const = 0;

    /// The first position of a value; -1, and a list of the valid values on the console, when there is none.
    virtual int InternalValueToIndex(const Internal&) const
    {
        throw std::runtime_error("choice::InternalValueToIndex unimplemented");
    }

    /// The position of the current value, alone in `indices`.
    virtual void GetByIndex(std::vector<int>& indices) const { indices.assign(1, InternalValueToIndex(this->Fetch())); }

    /// Sets the value at each of the positions in order, so that the last one stays; none at all sets nothing.
    virtual void SetByIndex(const std::vector<int>& indices, int channel)
    {
        for (const int index : indices)
            this->Store(IndexToInternalValue(index), channel);
    }

    /// The value of the first label that matches exactly.
    Internal LabelToInternalValue(const Label& label) const
    {
        for (std::size_t i = 0; i < labels_.size(); ++i) {
            if (labels_[i] == label)
                return IndexToInternalValue(static_cast<int>(i));
        }
        throw std::runtime_error("LabelToInternalValue: missing label '" + label + "' in list");
    }

    Label InternalValueToLabel(const Internal& value) const
    {
        const int index = InternalValueToIndex(value);
        if (index == -1)
            throw std::runtime_error("InternalValueToLabel: missing value '" + text<Internal>::From(value) +
                                     "' in list");
        return labels_.at(static_cast<std::size_t>(index));
    }

    std::string GetTypeID() const override { return var::types::collection<Label>::type_name(); }
    bool HasValue() const override { return this->HasGetter(); }

    void Set(const std::string& source, AccessMode mode, int channel) override
    {
        if (IsInternal(mode))
            this->Store(text<Internal>::Parse(source), channel);
        else if (IsLabel(mode))
            this->Store(LabelToInternalValue(source), channel);
    }

    void Get(std::string& target, AccessMode mode) const override
    {
        if (IsInternal(mode))
            target = text<Internal>::From(this->Fetch());
        else if (IsLabel(mode))
            target = InternalValueToLabel(this->Fetch());
    }

    void Set(const boost::any& source, AccessMode mode, int channel) override
    {
        if (IsInternal(mode))
            this->Store(boost::any_cast<const Internal&>(source), channel);
        else if (IsLabel(mode))
            this->Store(LabelToInternalValue(boost::any_cast<const Label&>(source)), channel);
    }

    void Get(boost::any& target, AccessMode mode) const override
    {
        if (IsInternal(mode))
            target = this->Fetch();
        else if (IsLabel(mode))
            target = InternalValueToLabel(this->Fetch());
    }

    void Set(boost::archive::polymorphic_iarchive& archive, AccessMode mode, int channel) override
    {
        if (IsInternal(mode))
            this->Store(record<Internal>::Read(archive, "value"), channel);
        else if (IsLabel(mode))
            this->Store(LabelToInternalValue(record<Label>::Read(archive, "value")), channel);
    }

    void Get(boost::archive::polymorphic_oarchive& archive, AccessMode mode) const override
    {
        if (IsInternal(mode))
            record<Internal>::Write(archive, "value", this->Fetch());
        else if (IsLabel(mode))
            record<Label>::Write(archive, "value", InternalValueToLabel(this->Fetch()));
    }

    bool HasAttributes() const override { return true; }

    /// Puts "item": one unnamed entry per label, in order.
    void GetAttribute(boost::property_tree::ptree& tree) const override
    {
        boost::property_tree::ptree items;
        for (const Label& label : labels_)
            items.push_back(boost::property_tree::ptree::value_type(std::string(), boost::property_tree::ptree(label)));
        tree.put_child("item", items);
    }

    /// The labels as a std::vector.
    void GetAttribute(boost::archive::polymorphic_oarchive& archive) const override
    {
        record<std::vector<Label>>::Write(archive, "attributes", labels_);
    }

    void GetAttribute(boost::any& target) const override { target = labels_; }

protected:
    collection_adapter() = default;
    explicit collection_adapter(Internal* field) : adapter<Internal>(field) {}

    std::vector<Label> labels_;

private:
    static bool IsInternal(AccessMode mode) { return mode == Access_Internal; }

    static bool IsLabel(AccessMode mode)
    {
        if (mode == Access_Reserved1 || mode == Access_Reserved2)
            throw std::runtime_error("unimplemented");
        return mode == Access_Label;
    }
};

/// A list whose labels are the values themselves. Instantiated for std::string.
template <typename T>
class ORVO_DEV_API choice : public collection_adapter<T, T>
{
public:
    choice() = default;
    explicit choice(T* field) : collection_adapter<T, T>(field) {}

    void SetLabels(const std::vector<T>& labels) { this->labels_ = labels; }

    T IndexToInternalValue(int index) const override;
    int InternalValueToIndex(const T& value) const override;
};

extern template class collection_adapter<std::string, std::string>;
extern template class choice<std::string>;

/// A list with a value of an enumeration behind each label.
template <typename Label, typename Internal>
class ORVO_DEV_API map_adapter : public collection_adapter<Label, Internal>
{
public:
    /// Appends a label and its value.
    void Insert(const Label& label, const Internal& value)
    {
        this->labels_.push_back(label);
        values_.push_back(value);
    }

    Internal IndexToInternalValue(int index) const override { return values_.at(static_cast<std::size_t>(index)); }

    int InternalValueToIndex(const Internal& value) const override
    {
        for (std::size_t i = 0; i < values_.size(); ++i) {
            if (values_[i] == value)
                return static_cast<int>(i);
        }
        // The heading goes to standard error and the list to standard output, on purpose.
        std::cerr << "(map) valid values are:\n";
        for (const Internal& valid : values_)
            std::cout << text<Internal>::From(valid) << '\n';
        return -1;
    }

protected:
    map_adapter() = default;
    explicit map_adapter(Internal* field) : collection_adapter<Label, Internal>(field) {}

private:
    std::vector<Internal> values_;
};

/// The variable of an enumeration, with text labels.
template <typename Internal>
class ORVO_DEV_API map : public map_adapter<std::string, Internal>
{
public:
    map() = default;
    explicit map(Internal* field) : map_adapter<std::string, Internal>(field) {}
};

}  // namespace detail
}  // namespace ui

#endif
