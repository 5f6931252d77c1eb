// SPDX-License-Identifier: GPL-2.0-or-later
// The functions of vantorel.h: arguments are looked at, and whatever is thrown becomes a code.
#include "vantorel.h"

#include "Failure.h"
#include "OpenSession.h"
#include "Session.h"
#include "documents/Documents.h"
#include "host/opening/MachineOpening.h"
#include "system/formatting/NumberFormatter.h"
#include "vantorel/ata/DriveTables.h"
#include "vantorel/base/Text.h"
#include "vantorel/health/JudgedReading.h"
#include "vantorel/layouts/Nvme.h"
#include "vantorel/machines/recorded/RecordedMachine.h"
#include "vantorel/smart/Version.h"
#include "vantorel/system/MessageSink.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <vector>

using namespace vantorel;
using c::Call;
using c::Failure;

namespace {

constexpr std::size_t sectorSize = 512;
constexpr std::size_t largestSaved = std::size_t{1} << 20;

/// What the command sets for every run that prints documents, once a process.
void prepare()
{
    static std::once_flag once;
    std::call_once(once, [] {
        system::setMessageSink([](std::string_view /*line*/) {});
        system::writeNumbersInEnglish();
        addDriveTable(recentDriveTable(), DriveTableUse::supplement);
    });
}

template <typename T>
T& required(T* pointer, const char* name)
{
    if (!pointer)
        throw Failure(VANTOREL_BAD_ARGUMENT, std::string(name) + " is NULL");
    return *pointer;
}

std::string textOf(const char* text, const char* name)
{
    std::string taken = &required(text, name);
    if (!base::isUtf8(taken))
        throw Failure(VANTOREL_BAD_ARGUMENT, std::string(name) + " is no UTF-8");
    return taken;
}

void allow(unsigned flags, unsigned known)
{
    if ((flags & ~known) != 0)
        throw Failure(VANTOREL_BAD_ARGUMENT, "a flag that is none here");
}

/// The bytes of a buffer that may not be shorter than that.
DataView bytesOf(const void* bytes, std::size_t size, std::size_t least, const char* name)
{
    static_cast<void>(required(static_cast<const std::uint8_t*>(bytes), name));
    if (size < least || size > largestSaved)
        throw Failure(VANTOREL_BAD_ARGUMENT, std::string(name) + " holds " + std::to_string(size) +
                                                 " bytes, and is to have " + std::to_string(least) + " to " +
                                                 std::to_string(largestSaved));
    return {static_cast<const std::uint8_t*>(bytes), size};
}

template <typename T>
T* allocated(std::size_t size)
{
    auto* const memory = static_cast<T*>(std::malloc(size));
    if (!memory)
        throw std::bad_alloc();
    return memory;
}

char* copyOf(std::string_view text)
{
    char* const copy = allocated<char>(text.size() + 1);
    text.copy(copy, text.size());
    copy[text.size()] = '\0';
    return copy;
}

/// An array of texts in one piece: the pointers, and the texts behind them.
char** copyOf(const std::vector<std::string>& texts)
{
    std::size_t size = texts.size() * sizeof(char*);
    for (const std::string& text : texts)
        size += text.size() + 1;
    char** const array = allocated<char*>(size);
    char* place = reinterpret_cast<char*>(array + texts.size());
    for (std::size_t i = 0; i < texts.size(); ++i) {
        array[i] = place;
        place += texts[i].copy(place, texts[i].size());
        *place++ = '\0';
    }
    return array;
}

std::unique_ptr<system::Machine> machineAt(const char* path, unsigned flags)
try {
    if (!path)
        return host::thisComputer((flags & VANTOREL_WAKE) != 0);
    return std::make_unique<recorded::RecordedMachine>(host::loadRecordingOrReport(path),
                                                       (flags & VANTOREL_PLAY) != 0 ? recorded::Playback::inTime
                                                                                    : recorded::Playback::byHand);
} catch (const std::bad_alloc&) {
    throw;
} catch (const std::exception& error) {
    throw Failure(VANTOREL_CANNOT_OPEN, error.what());
}

constexpr vantorel_level levels[] = {VANTOREL_GOOD, VANTOREL_WATCH, VANTOREL_AT_RISK, VANTOREL_FAILING,
                                     VANTOREL_UNKNOWN};
static_assert(levels[static_cast<std::size_t>(health::Level::watch)] == VANTOREL_WATCH &&
              levels[static_cast<std::size_t>(health::Level::atRisk)] == VANTOREL_AT_RISK &&
              levels[static_cast<std::size_t>(health::Level::failing)] == VANTOREL_FAILING);

} // namespace

const char* vantorel_version(void)
{
    return reinterpret_cast<const char*>(VantorelVersionString);
}

const char* vantorel_error_text(vantorel_error error)
{
    switch (error) {
    case VANTOREL_OK:
        return "no error";
    case VANTOREL_BAD_ARGUMENT:
        return "bad argument";
    case VANTOREL_BAD_HANDLE:
        return "no open machine";
    case VANTOREL_BUSY:
        return "another machine is open";
    case VANTOREL_CANNOT_OPEN:
        return "the machine cannot be opened";
    case VANTOREL_NO_DRIVE:
        return "no such drive";
    case VANTOREL_NOT_READ:
        return "the drive was not read";
    case VANTOREL_NO_EVENT:
        return "no event";
    case VANTOREL_EVENTS_LOST:
        return "events were lost";
    case VANTOREL_IN_CALLBACK:
        return "not to be called from a callback";
    case VANTOREL_NO_MEMORY:
        return "out of memory";
    case VANTOREL_FAILED:
        break;
    }
    return "failed";
}

const char* vantorel_last_error(void)
{
    return c::lastError();
}

void vantorel_free(void* memory)
{
    std::free(memory);
}

vantorel_error vantorel_open(const char* path, unsigned flags, vantorel_machine** machine)
{
    return c::guarded([&] {
        required(machine, "machine") = nullptr;
        allow(flags, VANTOREL_WAKE | VANTOREL_PLAY);
        const std::string name = path ? textOf(path, "path") : "this computer";
        prepare();
        *machine = c::openSession([&] { return std::make_unique<c::Session>(machineAt(path, flags), name); });
    });
}

vantorel_error vantorel_close(vantorel_machine* machine)
{
    return c::guarded([&] { c::closeSession(machine); });
}

vantorel_error vantorel_list(vantorel_machine* machine, char** json)
{
    return c::guarded([&] {
        required(json, "json") = nullptr;
        *json = copyOf(Call(machine)->list());
    });
}

vantorel_error vantorel_drive_names(vantorel_machine* machine, char*** names, size_t* count)
{
    return c::guarded([&] {
        required(names, "names") = nullptr;
        required(count, "count") = 0;
        const std::vector<std::string> found = Call(machine)->driveNames();
        *names = found.empty() ? nullptr : copyOf(found);
        *count = found.size();
    });
}

vantorel_error vantorel_check(vantorel_machine* machine, const char* const* names, size_t count, unsigned flags,
                              char** json)
{
    return c::guarded([&] {
        required(json, "json") = nullptr;
        allow(flags, VANTOREL_RAW);
        std::vector<std::string> wanted;
        for (std::size_t i = 0; i < count; ++i)
            wanted.push_back(textOf((&required(names, "names"))[i], "a name"));
        *json = copyOf(Call(machine)->check(wanted, (flags & VANTOREL_RAW) != 0));
    });
}

vantorel_error vantorel_verdict(vantorel_machine* machine, const char* name, vantorel_level* level, char** sentence)
{
    return c::guarded([&] {
        required(level, "level") = VANTOREL_UNKNOWN;
        if (sentence)
            *sentence = nullptr;
        const std::vector<DriveOutcome> outcomes = Call(machine)->read({textOf(name, "name")});
        const DriveOutcome& outcome = outcomes.front();
        if (!outcome.judged)
            throw Failure(outcome.drive ? VANTOREL_NOT_READ : VANTOREL_NO_DRIVE, outcome.name + ": " + outcome.error);
        const health::Verdict& verdict = outcome.judged->verdict;
        if (sentence)
            *sentence = copyOf(verdict.reasons.front().sentence);
        *level = levels[static_cast<std::size_t>(verdict.level)];
    });
}

vantorel_error vantorel_decode_ata(const void* data, size_t data_size, const void* thresholds, size_t thresholds_size,
                                   const char* model, unsigned flags, char** json)
{
    return c::guarded([&] {
        required(json, "json") = nullptr;
        allow(flags, VANTOREL_RAW | VANTOREL_SSD);
        prepare();
        const auto judged = health::judgeSavedAta(bytesOf(data, data_size, sectorSize, "data"),
                                                  bytesOf(thresholds, thresholds_size, sectorSize, "thresholds"),
                                                  textOf(model, "model"), (flags & VANTOREL_SSD) != 0);
        *json = copyOf(decodeDocument(judged.value(), (flags & VANTOREL_RAW) != 0));
    });
}

vantorel_error vantorel_decode_nvme(const void* log, size_t log_size, const void* identify, size_t identify_size,
                                    unsigned flags, char** json)
{
    return c::guarded([&] {
        required(json, "json") = nullptr;
        allow(flags, VANTOREL_RAW);
        prepare();
        const bool hasIdentify = identify || identify_size != 0;
        const auto judged = health::judgeSavedNvme(
            bytesOf(log, log_size, sectorSize, "log"),
            hasIdentify ? bytesOf(identify, identify_size, sizeof(NVMeControllerData), "identify") : DataView());
        *json = copyOf(decodeDocument(judged.value(), (flags & VANTOREL_RAW) != 0));
    });
}

vantorel_error vantorel_listen(vantorel_machine* machine, vantorel_event_callback callback, void* context)
{
    return c::guarded([&] { Call(machine)->listen(callback, context); });
}

vantorel_error vantorel_event_descriptor(vantorel_machine* machine, int* descriptor)
{
    return c::guarded([&] {
        required(descriptor, "descriptor") = -1;
        *descriptor = Call(machine)->events().descriptor();
    });
}

vantorel_error vantorel_next_event(vantorel_machine* machine, int milliseconds, char** json)
{
    return c::guarded([&] {
        using State = c::EventQueue::State;
        required(json, "json") = nullptr;
        Call call(machine);
        const bool mayWait = !call->isOwnThread();
        const auto fetched = call->events().fetch(mayWait ? milliseconds : 0);
        switch (fetched.state) {
        case State::event:
            *json = copyOf(fetched.document);
            return;
        case State::lost:
            throw Failure(VANTOREL_EVENTS_LOST, "more than " + std::to_string(c::EventQueue::most) + " events waited");
        case State::closed:
            throw Failure(VANTOREL_BAD_HANDLE, "the machine was closed");
        case State::nothing:
            break;
        }
        if (!mayWait && milliseconds != 0)
            throw Failure(VANTOREL_IN_CALLBACK, "no event can come while a callback runs");
        throw Failure(VANTOREL_NO_EVENT, "no event has come");
    });
}
