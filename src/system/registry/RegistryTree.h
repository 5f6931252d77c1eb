// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/system/CoreFoundation.h"
#include "vantorel/system/Machine.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vantorel::system {

/// One entry of the tree. It lives as long as the tree or a handle holds it; `parents` and `children` are empty once it
/// has left the tree. Everything but the first four members changes, and is read under the registry's lock only.
struct RegistryNode : std::enable_shared_from_this<RegistryNode> {
    struct Parent {
        RegistryNode* node;
        std::uint64_t order; ///< in which it was told; this node's key among the parent's children
    };
    /// A parent that was told but is not here yet.
    struct Awaited {
        std::uint64_t id;
        std::uint64_t order; ///< as of a parent
    };

    std::uint64_t id = 0;
    std::string name;
    std::string location;
    std::string className;
    std::vector<std::string> inheritance;
    PropertyTableRef properties;
    std::vector<Parent> parents;                     ///< in the order in which they were told
    std::map<std::uint64_t, RegistryNode*> children; ///< in the order in which this was told as their parent
    std::vector<Awaited> awaited;
    bool inTree = true;

    /// The parent that was told first; null at the root and for an entry that has left the tree.
    [[nodiscard]] RegistryNode* firstParent() const { return parents.empty() ? nullptr : parents.front().node; }
};

using RegistryNodeRef = std::shared_ptr<RegistryNode>;

/// Whether the entry's class is `base` or derived from it.
[[nodiscard]] bool conformsTo(const RegistryNode& node, std::string_view base);

/// The entries in the plane "IOService": a tree in which an entry may have several parents, but never itself among its
/// ancestors. It always has a root. Without a lock of its own.
class RegistryTree {
public:
    RegistryTree();

    [[nodiscard]] RegistryNodeRef root() const { return root_; }
    /// The entry with this id; null when there is none.
    [[nodiscard]] RegistryNodeRef find(std::uint64_t id) const;
    [[nodiscard]] std::size_t size() const { return nodes_.size(); }

    /// Takes in an entry, or what is new of an entry that is here. Gives its node; null for an entry without an id.
    RegistryNodeRef arrive(RegistryEntry entry);
    /// Gives the table that the entry had before; null when there is no such entry.
    PropertyTableRef change(std::uint64_t id, PropertyTable properties);

    struct Removal {
        std::vector<RegistryNodeRef> gone;   ///< children before their parents
        std::vector<RegistryNodeRef> rehung; ///< entries that stay under another parent
    };
    Removal remove(std::uint64_t id);
    /// Takes out every entry, all at once: none is hung under another parent before it goes.
    Removal removeAll();

    /// Calls `visit` with `from` and everything under it, each entry once, parents before children and the children in
    /// order; as long as it gives true.
    template <typename Visit>
    static void walk(RegistryNode& from, Visit visit)
    {
        std::set<const RegistryNode*> seen; // of the entries with several parents only
        std::vector<RegistryNode*> pending{&from};
        while (!pending.empty()) {
            RegistryNode& node = *pending.back();
            pending.pop_back();
            if (node.parents.size() > 1 && !seen.insert(&node).second)
                continue;
            if (!visit(node))
                return;
            for (auto child = node.children.rbegin(); child != node.children.rend(); ++child)
                pending.push_back(child->second);
        }
    }

private:
    void clearRoot();
    RegistryNodeRef makeNode(RegistryEntry& entry);
    void attach(RegistryNode& child, RegistryNode& parent, std::uint64_t order);
    static void detach(RegistryNode& child, RegistryNode& parent);
    void hangUnder(RegistryNode& node, const std::vector<std::uint64_t>& parents);
    void adoptChildrenOf(RegistryNode& parent);
    void forgetAwaited(RegistryNode& node);
    Removal takeOut(RegistryNodeRef first);

    RegistryNodeRef root_;
    std::unordered_map<std::uint64_t, RegistryNodeRef> nodes_;
    using Children = std::map<std::uint64_t, std::uint64_t>; // by the order of telling
    std::unordered_map<std::uint64_t, Children> awaiting_;   // absent parent to the children it will have
    std::uint64_t lastOrder_ = 0;
};

/// The one tree, and the lock that guards it and everything derived from it.
struct Registry {
    std::mutex mutex;
    RegistryTree tree;

    [[nodiscard]] static Registry& shared();
};

} // namespace vantorel::system
