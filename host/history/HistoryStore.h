// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "SavedReading.h"
#include "Sqlite.h"
#include "vantorel/health/Verdict.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vantorel::host {

/// Milliseconds since 1970, in UTC.
using Timestamp = std::int64_t;

// The marks of a reading: what it is among its neighbours; bits.
inline constexpr unsigned firstOfItsClock = 1; ///< the first of a drive, or since its power-on hours had gone back
inline constexpr unsigned damageGrewHere = 2;
inline constexpr unsigned damageGrowsNext = 4;

/// What was said of a drive at a reading.
struct SaidVerdict {
    health::Level level = health::Level::unknown;
    std::string rules; ///< ids behind the reasons, the worst first, blanks between them
};

/// A reading as it lies in the store.
struct KeptReading {
    Timestamp time = 0;
    std::string machine; ///< its platform's UUID; empty where it had none
    SaidVerdict verdict;
    unsigned marks = 0;
    SavedReading saved;
};

/// A drive of which readings are kept.
struct KeptDrive {
    std::int64_t id = 0;
    DriveIdentity identity;
};

/// A count that somebody has taken in, and when.
struct KeptAcknowledgement {
    health::KnownCount count;
    Timestamp time = 0;
};

/// Readings of drives in one file of SQLite; docs/formats/history.md tells its form. Whole readings stand there now
/// and then and what changed in between, so that every reading can be given back to the byte. Readings of a drive are
/// told apart by their time. Every failure is a `CommandError` that names the file, and changes nothing. One thread.
class HistoryStore {
public:
    using Use = sqlite::Connection::Use;

    /// Opens a history; to be written to, one is made where there is none. A lock that another process holds is waited
    /// for this long. Throws for a file that is no history, or one of a newer version.
    explicit HistoryStore(const std::string& path, Use use,
                          std::chrono::milliseconds patience = std::chrono::seconds(10));

    [[nodiscard]] const std::string& path() const { return database_.path(); }

    /// To be held while readings are added; see there.
    [[nodiscard]] sqlite::Transaction transaction() { return sqlite::Transaction(database_); }

    /// The drive of this identity: model and serial number are the same, and the names worldwide where both are known.
    [[nodiscard]] std::optional<KeptDrive> find(const DriveIdentity& identity);
    /// All drives in the order in which they came.
    [[nodiscard]] std::vector<KeptDrive> drives();
    /// The drive of that identity, which is made if there is none.
    KeptDrive findOrMake(const DriveIdentity& identity);

    /// Keeps a reading. Gives false where the drive has one of this time already.
    bool insert(const KeptDrive& drive, const KeptReading& reading);
    /// Sets and clears marks of the reading of that time.
    void mark(const KeptDrive& drive, Timestamp time, unsigned set, unsigned clear = 0);

    // The readings of a drive; absent where there is none.
    [[nodiscard]] std::optional<KeptReading> last(const KeptDrive& drive);
    [[nodiscard]] std::optional<KeptReading> lastBefore(const KeptDrive& drive, Timestamp time);
    [[nodiscard]] std::optional<KeptReading> firstAfter(const KeptDrive& drive, Timestamp time);
    [[nodiscard]] std::optional<KeptReading> at(const KeptDrive& drive, Timestamp time);
    /// The times of the readings that have one of these marks, from `begin` up to but without `end`, in order.
    [[nodiscard]] std::vector<Timestamp> marked(const KeptDrive& drive, unsigned marks, Timestamp begin, Timestamp end);
    /// How many readings there are.
    [[nodiscard]] std::int64_t count(const KeptDrive& drive);

    [[nodiscard]] std::vector<KeptAcknowledgement> acknowledgements(const KeptDrive& drive);
    void acknowledge(const KeptDrive& drive, const KeptAcknowledgement& known);
    /// Takes back what was acknowledged of a rule; gives how many counts that were.
    std::int64_t withdraw(const KeptDrive& drive, const std::string& rule);

    /// Removes the unmarked readings before that time, except the last of each drive, and gives their room back. Gives
    /// how many they were.
    std::int64_t prune(Timestamp before);

private:
    struct Frame {
        std::int64_t id = 0;
        Data image;
    };

    void setUp(Use use);
    std::optional<std::int64_t> machineId(const std::string& uuid);
    std::int64_t verdictId(const SaidVerdict& verdict);
    const Frame& frame(std::int64_t id);
    std::int64_t newFrame(Data image);
    /// The first reading that the rest of a query finds.
    template <typename... Values>
    [[nodiscard]] std::optional<KeptReading> reading(const char* condition, const Values&... values);
    [[noreturn]] void damaged(const std::string& what) const;

    sqlite::Connection database_;
    Frame lastFrame_; ///< readings that are looked at together share it, mostly
};

} // namespace vantorel::host
