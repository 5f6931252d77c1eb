// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/DiskTree.h"
#include "documents/DiskUse.h"
#include "documents/Documents.h"
#include "documents/Status.h"
#include "documents/WholeNumber.h"
#include "host/Verbs.h"
#include "host/choice/MachineChoice.h"
#include "host/console/Output.h"
#include "host/console/Text.h"
#include "host/views/DiskWords.h"
#include "host/views/Quantity.h"

#include <memory>

namespace vantorel::host {

namespace {

/// One line for the node and one for each below it, drawn behind `stem`, which runs down to them.
void draw(Table& table, const DiskNode& node, const std::string& branch, const std::string& stem)
{
    std::string kind = kindText(*node.disk);
    if (node.raidSet)
        kind += ", in " + node.raidSet->bsdName().value_or("a RAID set");
    const auto volume = volumeOn(*node.disk);
    const auto mountPoint = volume ? volume->mountPoint() : std::nullopt;
    table.add({branch + printable(node.disk->bsdName().value_or("-")), sizeText(*node.disk), std::move(kind),
               printable(nameText(*node.disk)), printable(mountPoint.value_or("")),
               mountPoint ? sizeText(wholeNumber(volume->freeSpace())) : std::string()},
              branch.empty() ? Emphasis::strong : Emphasis::none);
    for (const DiskNode& child : node.children) {
        const bool isLast = &child == &node.children.back();
        draw(table, child, stem + (isLast ? "└─ " : "├─ "), stem + (isLast ? "   " : "│  "));
    }
}

std::string treeText(const std::vector<DiskNode>& roots)
{
    Table table(
        {{"DISK"}, {"SIZE", Table::Align::right}, {"KIND"}, {"NAME"}, {"MOUNT POINT"}, {"FREE", Table::Align::right}});
    for (const DiskNode& root : roots)
        draw(table, root, "", "");
    return table.text();
}

int list(const CLI::App& app, bool json)
{
    const std::string path = loadMachine(app);
    const std::vector<DiskNode> roots = diskTree(Vantorel::shared());
    const int status = roots.empty() ? usageError : success;
    if (!json) {
        print(roots.empty() ? "No disks.\n" : treeText(roots));
        return status;
    }
    print(listDocument(path, roots));
    return status;
}

} // namespace

void addList(CLI::App& app, int& status)
{
    CLI::App* const verb = app.add_subcommand("list", "The tree of a machine's disks");
    const auto json = std::make_shared<bool>(false);
    verb->add_flag("--json", *json, "Print as JSON");
    verb->callback([&app, json, &status] { status = list(app, *json); });
}

} // namespace vantorel::host
