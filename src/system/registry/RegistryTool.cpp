// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/registry/RegistryTool.h"

#include "CurrentProperties.h"
#include "RegistryTree.h"
#include "system/files/Process.h"
#include "system/propertylist/XmlWriter.h"

#include <cstddef>
#include <mutex>
#include <unordered_map>
#include <utility>

namespace vantorel::system {

namespace {

constexpr std::size_t chunkSize = 64 * 1024;

/// Entries with several parents repeat everything below them; nested into each other they could repeat it without end.
/// Beyond so many repeats an entry is listed without what is below it, which stands elsewhere in the listing.
constexpr std::size_t mostRepeats = 10'000;

/// An entry as it stood when the listing began. The strings are copies: the tree's root gets others when a machine
/// brings its own.
struct ListedEntry {
    std::uint64_t id;
    std::string name;
    std::string location;
    std::string className;
    std::vector<std::string> inheritance;
    PropertyTableRef properties;
    std::vector<std::size_t> children; ///< indices
};

/// All entries, the root first, with what was told of them. The properties never change once they are handed out, so
/// only this needs the lock.
std::vector<ListedEntry> toldEntries()
{
    Registry& registry = Registry::shared();
    const std::scoped_lock lock(registry.mutex);
    std::vector<ListedEntry> entries;
    std::unordered_map<const RegistryNode*, std::size_t> indices;
    RegistryTree::walk(*registry.tree.root(), [&](const RegistryNode& node) {
        indices.emplace(&node, entries.size());
        entries.push_back({node.id, node.name, node.location, node.className, node.inheritance, node.properties, {}});
        return true;
    });
    for (const auto& [node, index] : indices) {
        for (const auto& [order, child] : node->children)
            entries[index].children.push_back(indices.at(child));
    }
    return entries;
}

std::vector<ListedEntry> currentEntries()
{
    std::vector<ListedEntry> entries = toldEntries();
    for (ListedEntry& entry : entries)
        entry.properties = currentProperties(entry.id, entry.properties);
    return entries;
}

class Listing {
public:
    Listing(const std::vector<ListedEntry>& entries, ToolOutput& output)
        : entries_(entries), output_(output), isListed_(entries.size())
    {}

    void write()
    {
        xml_.begin();
        enter(0);
        while (!path_.empty()) {
            Place& place = path_.back();
            if (place.nextChild < entries_[place.entry].children.size()) {
                enter(entries_[place.entry].children[place.nextChild++]);
            } else {
                leave();
            }
            if (xml_.output.size() >= chunkSize && !flush())
                return; // nobody reads any more
        }
        xml_.end();
        static_cast<void>(flush());
    }

private:
    /// An entry whose children are being listed.
    struct Place {
        std::size_t entry;
        std::size_t nextChild;
    };

    void enter(std::size_t index)
    {
        const ListedEntry& entry = entries_[index];
        const bool isRepeat = isListed_[index];
        isListed_[index] = true;
        repeats_ += isRepeat ? 1 : 0;
        xml_.openTable();
        writeProperties(entry);
        if (entry.children.empty() || (isRepeat && repeats_ > mostRepeats))
            return xml_.closeTable();
        xml_.key("IORegistryEntryChildren");
        xml_.openArray();
        path_.push_back({index, 0});
    }

    void leave()
    {
        path_.pop_back();
        xml_.closeArray();
        xml_.closeTable();
    }

    void writeProperties(const ListedEntry& entry)
    {
        PropertyTable known = {{"IOObjectClass", entry.className}, {"IORegistryEntryName", entry.name}};
        if (entry.id != 0) // 0 is the root of a machine that has told none
            known.emplace("IORegistryEntryID", entry.id);
        if (!entry.location.empty())
            known.emplace("IORegistryEntryLocation", entry.location);
        if (!entry.inheritance.empty())
            known.emplace("IOObjectInheritance", PropertyArray(entry.inheritance.begin(), entry.inheritance.end()));
        for (const auto& [key, value] : *entry.properties) {
            if (known.contains(key) || key == "IORegistryEntryChildren")
                continue; // the tool's own keys go over an entry's
            xml_.key(key);
            xml_.write(value);
        }
        for (const auto& [key, value] : known) {
            xml_.key(key);
            xml_.write(value);
        }
    }

    bool flush()
    {
        const std::string text = std::exchange(xml_.output, {});
        return output_.write(Data(text.begin(), text.end()));
    }

    const std::vector<ListedEntry>& entries_;
    ToolOutput& output_;
    std::vector<bool> isListed_;
    std::size_t repeats_ = 0;
    std::vector<Place> path_;
    XmlWriter xml_;
};

} // namespace

void provideRegistryTool()
{
    provideTool(registryToolPath, [](const std::vector<std::string>& /*arguments*/, ToolOutput& output) {
        const std::vector<ListedEntry> entries = currentEntries();
        Listing(entries, output).write();
    });
}

} // namespace vantorel::system
