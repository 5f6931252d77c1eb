// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/Documents.h"
#include "host/Verbs.h"
#include "host/choice/MachineChoice.h"
#include "host/choice/SecondsChoice.h"
#include "host/console/Output.h"
#include "host/console/Text.h"
#include "host/views/DiskWords.h"
#include "host/views/Time.h"
#include "vantorel/disks/Vantorel.h"

#include <fmt/format.h>

#include <cstdint>
#include <exception>
#include <limits>
#include <memory>
#include <optional>

namespace vantorel::host {

namespace {

struct WatchArguments {
    std::optional<double> seconds;
    std::uint64_t count = std::numeric_limits<std::uint64_t>::max();
    bool json = false;
};

/// Prints each event at once.
class Printer : public DiskListener {
public:
    explicit Printer(const WatchArguments& arguments) : left_(arguments.count), json_(arguments.json) {}

    [[nodiscard]] bool isDone() const { return left_ == 0 || failure_; }

    /// Throws what printing threw: an exception must not leave `diskChanged`.
    void rethrow() const
    {
        if (failure_)
            std::rethrow_exception(failure_);
    }

    void diskChanged(const std::shared_ptr<Disk>& disk, DiskEvent event) override
    {
        if (isDone())
            return;
        --left_;
        try {
            print(json_ ? eventDocument(*disk, event) : text(*disk, event));
            flush();
        } catch (...) {
            failure_ = std::current_exception();
        }
    }

private:
    static std::string text(const Disk& disk, DiskEvent event)
    {
        return fmt::format("{}  {:<11}  {:<10}  {:>10}  {:<16}  {}\n", localTime(), rawValue(event),
                           printable(disk.bsdName().value_or("-")), sizeText(disk), kindText(disk),
                           printable(nameText(disk)));
    }

    std::uint64_t left_;
    bool json_;
    std::exception_ptr failure_;
};

void watch(const CLI::App& app, const WatchArguments& arguments)
{
    startMachine(app, LaterEvents::happen);
    const auto printer = std::make_shared<Printer>(arguments);
    Vantorel::shared().registerListener(printer);
    pumpEvents(arguments.seconds, [&printer] { return printer->isDone(); });
    printer->rethrow();
}

} // namespace

void addWatch(CLI::App& app, int& /*status*/)
{
    CLI::App* const verb =
        app.add_subcommand("watch", "Tell of every disk that arrives, changes or goes; those already there first");
    const auto arguments = std::make_shared<WatchArguments>();
    verb->add_option("--for", arguments->seconds, "End after this many seconds")
        ->type_name("SECONDS")
        ->check(secondsFrom(0));
    verb->add_option("--count", arguments->count, "End after this many events")
        ->type_name("COUNT")
        ->check(CLI::PositiveNumber);
    verb->add_flag("--json", arguments->json, "Print one JSON document a line");
    verb->callback([&app, arguments] { watch(app, *arguments); });
}

} // namespace vantorel::host
