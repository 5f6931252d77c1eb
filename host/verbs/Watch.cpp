// SPDX-License-Identifier: GPL-2.0-or-later
#include "documents/Documents.h"
#include "host/Verbs.h"
#include "host/choice/DurationChoice.h"
#include "host/choice/MachineChoice.h"
#include "host/choice/SecondsChoice.h"
#include "host/console/Output.h"
#include "host/console/Text.h"
#include "host/service/HealthWatch.h"
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
    bool health = false;
    WatchOptions options; ///< of the health of drives
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

void watchHealth(const CLI::App& app, const WatchArguments& arguments)
{
    HealthWatch watch(arguments.options, arguments.json); // before the machine starts threads
    startMachine(app, LaterEvents::happen);
    watch.run(arguments.seconds);
}

void watch(const CLI::App& app, const WatchArguments& arguments)
{
    if (arguments.health)
        return watchHealth(app, arguments);
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
    auto* const count = verb->add_option("--count", arguments->count, "End after this many events")
                            ->type_name("COUNT")
                            ->check(CLI::PositiveNumber);
    verb->add_flag("--json", arguments->json, "Print one JSON document a line");
    auto* const health =
        verb->add_flag("--health", arguments->health, "Read the drives now and then, and tell when a level changes")
            ->excludes(count);
    WatchOptions& options = arguments->options;
    verb->add_option("--interval", options.interval, "Between two readings of a drive; 30m unless told otherwise")
        ->type_name("DURATION")
        ->check(durationFrom(std::chrono::seconds(1)))
        ->needs(health);
    verb->add_option("--db", options.history, "The history, in place of the usual one")
        ->type_name("FILE")
        ->needs(health);
    verb->add_option("--on-change", options.onChange, "Run this command with the change as JSON on its standard input")
        ->type_name("COMMAND")
        ->needs(health);
    verb->add_option("--mail", options.mail, "Send the change to this address")->type_name("ADDRESS")->needs(health);
    verb->add_option("--metrics", options.metrics, "Write this file for Prometheus after every reading")
        ->type_name("FILE")
        ->needs(health);
    verb->add_option("--settings", options.file, "Settings; /etc/vantorel/watch.toml unless named, if it is there")
        ->type_name("FILE")
        ->needs(health);
    verb->callback([&app, arguments] { watch(app, *arguments); });
}

} // namespace vantorel::host
