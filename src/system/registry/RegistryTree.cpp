// SPDX-License-Identifier: GPL-2.0-or-later
#include "RegistryTree.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>

namespace vantorel::system {

namespace {

constexpr std::string_view rootClass = "IORegistryEntry";

/// More parents than any RAID set has members; what comes beyond is not looked at.
constexpr std::size_t mostParents = 64;

/// Classes of storage entries and what they derive from. A listing gives an entry's own class only, so what the library
/// must know of the platform's classes stands here.
constexpr std::array<std::pair<std::string_view, std::string_view>, 20> baseClasses{{
    {"AppleAPFSMedia", "IOMedia"},
    {"AppleAPFSSnapshot", "IOMedia"},
    {"AppleAPFSVolume", "IOMedia"},
    {"CoreStorageLogical", "IOMedia"},
    {"IOBDMedia", "IOMedia"},
    {"IOCDMedia", "IOMedia"},
    {"IODVDMedia", "IOMedia"},
    {"IOAHCIBlockStorageDevice", "IOBlockStorageDevice"},
    {"IOATABlockStorageDevice", "IOBlockStorageDevice"},
    {"IOBlockStorageServices", "IOBlockStorageDevice"},
    {"IODiskImageBlockStorageDeviceInKernel", "IOBlockStorageDevice"},
    {"IODiskImageBlockStorageDeviceOutKernel", "IOBlockStorageDevice"},
    {"IOEmbeddedNVMeBlockDevice", "IOBlockStorageDevice"},
    {"IONVMeBlockStorageDevice", "IOBlockStorageDevice"},
    {"IOReducedBlockServices", "IOBlockStorageDevice"},
    {"IOCompactDiscServices", "IOBlockStorageDevice"},
    {"IODVDServices", "IOBlockStorageDevice"},
    {"IOBDBlockStorageDriver", "IOBlockStorageDriver"},
    {"IOCDBlockStorageDriver", "IOBlockStorageDriver"},
    {"IODVDBlockStorageDriver", "IOBlockStorageDriver"},
}};

/// The two identifiers that a CoreStorage volume carries are UUID values, though a listing can only write their text.
PropertyTableRef withUuidValues(PropertyTable properties)
{
    for (const std::string_view key : {"CoreStorage LVG UUID", "CoreStorage LVF UUID"}) {
        const auto found = properties.find(key);
        if (found == properties.end() || !found->second.text())
            continue;
        if (const std::optional<base::Uuid> uuid = base::Uuid::parse(*found->second.text()))
            found->second = *uuid;
    }
    return std::make_shared<const PropertyTable>(std::move(properties));
}

bool isAncestor(const RegistryNode& ancestor, const RegistryNode& node)
{
    std::set<const RegistryNode*> seen{&node};
    std::vector<const RegistryNode*> pending{&node};
    while (!pending.empty()) {
        const RegistryNode* const next = pending.back();
        pending.pop_back();
        if (next == &ancestor)
            return true;
        for (const RegistryNode::Parent& parent : next->parents) {
            if (seen.insert(parent.node).second)
                pending.push_back(parent.node);
        }
    }
    return false;
}

bool isAwaited(const RegistryNode& node, std::uint64_t parent)
{
    return std::ranges::find(node.awaited, parent, &RegistryNode::Awaited::id) != node.awaited.end();
}

} // namespace

bool conformsTo(const RegistryNode& node, std::string_view base)
{
    if (node.className == base || std::ranges::find(node.inheritance, base) != node.inheritance.end())
        return true;
    return std::ranges::find(baseClasses, std::pair{std::string_view(node.className), base}) != baseClasses.end();
}

RegistryTree::RegistryTree() : root_(std::make_shared<RegistryNode>())
{
    clearRoot();
}

void RegistryTree::clearRoot()
{
    root_->id = 0;
    root_->name = "Root";
    root_->className = rootClass;
    root_->properties = std::make_shared<const PropertyTable>();
}

RegistryNodeRef RegistryTree::find(std::uint64_t id) const
{
    const auto found = nodes_.find(id);
    return found == nodes_.end() ? nullptr : found->second;
}

RegistryNodeRef RegistryTree::makeNode(RegistryEntry& entry)
{
    // The machine's own root takes the place of ours.
    const bool isRoot = entry.parents.empty() && entry.className == rootClass && root_->id == 0;
    RegistryNodeRef node = isRoot ? root_ : std::make_shared<RegistryNode>();
    node->id = entry.id;
    node->name = std::move(entry.name);
    node->location = std::move(entry.location);
    node->className = std::move(entry.className);
    node->inheritance = std::move(entry.inheritance);
    return node;
}

RegistryNodeRef RegistryTree::arrive(RegistryEntry entry)
{
    if (entry.id == 0)
        return nullptr;
    RegistryNodeRef& node = nodes_[entry.id];
    const bool isNew = !node;
    if (isNew)
        node = makeNode(entry);
    node->properties = withUuidValues(std::move(entry.properties));
    if (node != root_)
        hangUnder(*node, entry.parents);
    RegistryNodeRef result = node;
    if (isNew)
        adoptChildrenOf(*result);
    return result;
}

void RegistryTree::hangUnder(RegistryNode& node, const std::vector<std::uint64_t>& parents)
{
    const std::size_t count = std::min(parents.size(), mostParents);
    for (const std::uint64_t id : std::span(parents).first(count)) {
        const std::uint64_t order = ++lastOrder_;
        if (const RegistryNodeRef parent = find(id)) {
            attach(node, *parent, order);
        } else if (node.awaited.size() < mostParents && !isAwaited(node, id)) {
            awaiting_[id].emplace(order, node.id);
            node.awaited.push_back({id, order});
        }
    }
    if (node.parents.empty())
        attach(node, *root_, ++lastOrder_);
}

void RegistryTree::attach(RegistryNode& child, RegistryNode& parent, std::uint64_t order)
{
    const auto isParent = [&parent](const RegistryNode::Parent& link) { return link.node == &parent; };
    if (std::ranges::any_of(child.parents, isParent) || child.parents.size() >= mostParents)
        return;
    // Only an entry that has children already can close a loop, and a new one has none.
    if (&child == &parent || (!child.children.empty() && isAncestor(child, parent)))
        return;
    // The place at the top was only for as long as no parent was here.
    const bool waited = child.parents.size() == 1 && child.parents.front().node == root_.get();
    if (waited && &parent != root_.get())
        detach(child, *root_);
    parent.children.emplace(order, &child);
    child.parents.insert(std::ranges::upper_bound(child.parents, order, {}, &RegistryNode::Parent::order),
                         {&parent, order});
}

void RegistryTree::detach(RegistryNode& child, RegistryNode& parent)
{
    const auto link = std::ranges::find(child.parents, &parent, &RegistryNode::Parent::node);
    if (link == child.parents.end())
        return;
    parent.children.erase(link->order);
    child.parents.erase(link);
}

void RegistryTree::adoptChildrenOf(RegistryNode& parent)
{
    const auto waiting = awaiting_.extract(parent.id);
    if (!waiting)
        return;
    for (const auto& [order, id] : waiting.mapped()) {
        if (const RegistryNodeRef child = find(id)) {
            std::erase_if(child->awaited, [&parent](const auto& awaited) { return awaited.id == parent.id; });
            attach(*child, parent, order);
        }
    }
}

PropertyTableRef RegistryTree::change(std::uint64_t id, PropertyTable properties)
{
    const RegistryNodeRef node = find(id);
    return node ? std::exchange(node->properties, withUuidValues(std::move(properties))) : nullptr;
}

RegistryTree::Removal RegistryTree::remove(std::uint64_t id)
{
    const RegistryNodeRef first = find(id);
    if (!first)
        return {};
    while (!first->parents.empty())
        detach(*first, *first->parents.back().node);
    return takeOut(first);
}

RegistryTree::Removal RegistryTree::removeAll()
{
    return takeOut(root_);
}

RegistryTree::Removal RegistryTree::takeOut(RegistryNodeRef first)
{
    Removal removal;
    std::set<RegistryNode*> touched; // lost a parent, and had another when it did
    std::vector<RegistryNodeRef> pending{std::move(first)};
    while (!pending.empty()) {
        const RegistryNodeRef node = std::move(pending.back());
        pending.pop_back();
        touched.erase(node.get());
        while (!node->children.empty()) {
            RegistryNode& child = *node->children.begin()->second;
            detach(child, *node);
            if (child.parents.empty())
                pending.push_back(child.shared_from_this());
            else
                touched.insert(&child);
        }
        forgetAwaited(*node);
        nodes_.erase(node->id);
        if (node == root_)
            clearRoot();
        else
            node->inTree = false;
        removal.gone.push_back(node);
    }
    std::ranges::reverse(removal.gone);
    for (RegistryNode* const node : touched)
        removal.rehung.push_back(node->shared_from_this());
    return removal;
}

void RegistryTree::forgetAwaited(RegistryNode& node)
{
    for (const RegistryNode::Awaited& parent : node.awaited) {
        const auto found = awaiting_.find(parent.id);
        if (found == awaiting_.end())
            continue;
        found->second.erase(parent.order);
        if (found->second.empty())
            awaiting_.erase(found);
    }
    node.awaited.clear();
}

Registry& Registry::shared()
{
    static auto& the = *new Registry; // a machine's threads may tell and ask until the process has ended
    return the;
}

} // namespace vantorel::system
