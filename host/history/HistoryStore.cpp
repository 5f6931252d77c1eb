// SPDX-License-Identifier: GPL-2.0-or-later
#include "HistoryStore.h"

#include "host/console/Output.h"
#include "vantorel/base/RawValue.h"
#include "vantorel/compression/Compression.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <thread>

namespace vantorel::host {

namespace {

using sqlite::Rows;

constexpr std::int64_t formVersion = 1;
constexpr std::int64_t applicationId = 0x56'54'4C'48; // "VTLH", which `file` may show

constexpr const char* schema = R"(
CREATE TABLE machine (id INTEGER PRIMARY KEY, uuid TEXT NOT NULL UNIQUE) STRICT;
CREATE TABLE drive (id INTEGER PRIMARY KEY, model TEXT NOT NULL, serial TEXT NOT NULL, wwn TEXT NOT NULL,
                    UNIQUE (serial, model, wwn)) STRICT;
CREATE TABLE verdict (id INTEGER PRIMARY KEY, level TEXT NOT NULL, rules TEXT NOT NULL, UNIQUE (rules, level)) STRICT;
CREATE TABLE frame (id INTEGER PRIMARY KEY, image BLOB NOT NULL) STRICT;
CREATE TABLE reading (drive INTEGER NOT NULL REFERENCES drive, time INTEGER NOT NULL, machine INTEGER REFERENCES machine,
                      verdict INTEGER NOT NULL REFERENCES verdict, marks INTEGER, frame INTEGER NOT NULL REFERENCES frame,
                      changes BLOB NOT NULL, PRIMARY KEY (drive, time)) STRICT, WITHOUT ROWID;
CREATE INDEX marked ON reading (drive, time) WHERE marks IS NOT NULL;
CREATE TABLE acknowledgement (drive INTEGER NOT NULL REFERENCES drive, rule TEXT NOT NULL, name TEXT NOT NULL,
                              number TEXT NOT NULL, time INTEGER NOT NULL, PRIMARY KEY (drive, rule, name))
    STRICT, WITHOUT ROWID;
)";

/// What is asked of a reading, whichever it is.
constexpr std::string_view readingColumns =
    "SELECT time, coalesce(uuid, ''), level, rules, coalesce(marks, 0), frame, changes FROM reading "
    "JOIN verdict ON verdict.id = verdict LEFT JOIN machine ON machine.id = machine WHERE drive = ?1 AND ";

/// Readings that changed in more bytes than this are kept whole.
constexpr std::size_t mostChanges = 192;

/// 128 bits as decimal digits, which no number of SQLite has room for.
health::Int128 numberOf(const std::string& digits)
{
    health::Int128 number = 0;
    for (const char digit : digits.substr(0, 38)) {
        if (digit >= '0' && digit <= '9')
            number = number * 10 + (digit - '0');
    }
    return number;
}

} // namespace

HistoryStore::HistoryStore(const std::string& path, Use use, std::chrono::milliseconds patience)
    : database_(path, use, patience)
{
    setUp(use);
}

void HistoryStore::setUp(Use use)
{
    const auto check = [this] {
        const std::int64_t version = database_.number("PRAGMA user_version");
        const bool isOurs = database_.number("PRAGMA application_id") == applicationId;
        const bool isNew = !isOurs && version == 0 && database_.number("SELECT count(*) FROM sqlite_schema") == 0;
        if (!isNew && !isOurs)
            throw CommandError(path(), "it is no history");
        if (version > formVersion)
            throw CommandError(path(), fmt::format("it is of a newer version of vantorel: its form is {}, this one "
                                                   "knows {}",
                                                   version, formVersion));
        return isNew;
    };
    const bool isNew = check();
    if (use == Use::read) {
        if (isNew)
            throw CommandError(path(), "it is no history");
        return;
    }
    if (isNew)
        database_.run("PRAGMA auto_vacuum = INCREMENTAL");
    // What a run has told as kept is on the disk, whatever happens to the computer next.
    database_.run("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON");
    if (!isNew)
        return;
    auto making = transaction();
    if (check()) { // nobody else was quicker
        database_.run(schema);
        database_.run(fmt::format("PRAGMA application_id = {}; PRAGMA user_version = {}", applicationId, formVersion));
    }
    making.commit();
}

void HistoryStore::damaged(const std::string& what) const
{
    throw CommandError(path(), "it is damaged: " + what);
}

std::vector<KeptDrive> HistoryStore::drives()
{
    std::vector<KeptDrive> drives;
    Rows rows = database_.query("SELECT id, model, serial, wwn FROM drive ORDER BY id");
    while (rows.next())
        drives.push_back({rows.number(0), {rows.text(1), rows.text(2), rows.text(3)}});
    return drives;
}

std::optional<KeptDrive> HistoryStore::find(const DriveIdentity& identity)
{
    if (!identity.isUnique())
        return std::nullopt;
    // The drive of the same name worldwide comes before one that has told none yet.
    Rows rows = database_.query("SELECT id, model, serial, wwn FROM drive WHERE serial = ?1 AND model = ?2 AND "
                                "(wwn = ?3 OR wwn = '' OR ?3 = '') ORDER BY wwn <> ?3, id",
                                identity.serial, identity.model, identity.wwn);
    if (!rows.next())
        return std::nullopt;
    return KeptDrive{rows.number(0), {rows.text(1), rows.text(2), rows.text(3)}};
}

KeptDrive HistoryStore::findOrMake(const DriveIdentity& identity)
{
    auto drive = find(identity);
    if (!drive)
        return {database_.number("INSERT INTO drive (model, serial, wwn) VALUES (?1, ?2, ?3) RETURNING id",
                                 identity.model, identity.serial, identity.wwn),
                identity};
    if (drive->identity.wwn.empty() && !identity.wwn.empty()) {
        database_.perform("UPDATE drive SET wwn = ?2 WHERE id = ?1", drive->id, identity.wwn);
        drive->identity.wwn = identity.wwn;
    }
    return *std::move(drive);
}

std::optional<std::int64_t> HistoryStore::machineId(const std::string& uuid)
{
    if (uuid.empty())
        return std::nullopt;
    const std::int64_t id = database_.number("SELECT id FROM machine WHERE uuid = ?1", uuid);
    return id != 0 ? id : database_.number("INSERT INTO machine (uuid) VALUES (?1) RETURNING id", uuid);
}

std::int64_t HistoryStore::verdictId(const SaidVerdict& verdict)
{
    const std::string level(rawValue(verdict.level));
    const std::int64_t id =
        database_.number("SELECT id FROM verdict WHERE rules = ?1 AND level = ?2", verdict.rules, level);
    return id != 0 ? id
                   : database_.number("INSERT INTO verdict (rules, level) VALUES (?1, ?2) RETURNING id", verdict.rules,
                                      level);
}

const HistoryStore::Frame& HistoryStore::frame(std::int64_t id)
{
    if (lastFrame_.id == id)
        return lastFrame_;
    Rows rows = database_.query("SELECT image FROM frame WHERE id = ?1", id);
    if (!rows.next())
        damaged("a whole reading is missing");
    try {
        lastFrame_ = {id, decompress(rows.bytes(0), CompressionAlgorithm::zlib).value_or(Data())};
    } catch (const CompressionError&) {
        damaged("a whole reading does not expand");
    }
    return lastFrame_;
}

std::int64_t HistoryStore::newFrame(Data image)
{
    const Data packed = *compress(image, CompressionAlgorithm::zlib);
    const std::int64_t id = database_.number("INSERT INTO frame (image) VALUES (?1) RETURNING id", DataView(packed));
    lastFrame_ = {id, std::move(image)};
    return id;
}

bool HistoryStore::insert(const KeptDrive& drive, const KeptReading& reading)
{
    auto image = reading.saved.image();
    if (!image)
        throw CommandError(path(), "more bytes than any drive gives");
    if (database_.number("SELECT count(*) FROM reading WHERE drive = ?1 AND time = ?2", drive.id, reading.time) != 0)
        return false;
    std::int64_t frameId = database_.number(
        "SELECT frame FROM reading WHERE drive = ?1 AND time < ?2 ORDER BY time DESC LIMIT 1", drive.id, reading.time);
    Data changes;
    if (frameId != 0 && frame(frameId).image.size() == image->size())
        changes = changesBetween(lastFrame_.image, *image);
    else
        frameId = 0;
    if (frameId == 0 || changes.size() > mostChanges) {
        frameId = newFrame(*std::move(image));
        changes.clear();
    }
    const auto marks = reading.marks == 0 ? std::nullopt : std::optional(std::int64_t{reading.marks});
    database_.perform("INSERT INTO reading (drive, time, machine, verdict, marks, frame, changes) "
                      "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)",
                      drive.id, reading.time, machineId(reading.machine), verdictId(reading.verdict), marks, frameId,
                      DataView(changes));
    return true;
}

void HistoryStore::mark(const KeptDrive& drive, Timestamp time, unsigned set, unsigned clear)
{
    database_.perform("UPDATE reading SET marks = nullif((coalesce(marks, 0) | ?3) & ~?4, 0) "
                      "WHERE drive = ?1 AND time = ?2",
                      drive.id, time, std::int64_t{set}, std::int64_t{clear});
}

template <typename... Values>
std::optional<KeptReading> HistoryStore::reading(const char* condition, const Values&... values)
{
    Rows rows = database_.query(std::string(readingColumns) + condition, values...);
    if (!rows.next())
        return std::nullopt;
    KeptReading reading{
        .time = rows.number(0),
        .machine = rows.text(1),
        .verdict = {fromRawValue<health::Level>(rows.text(2)).value_or(health::Level::unknown), rows.text(3)},
        .marks = static_cast<unsigned>(rows.number(4)),
        .saved = {}};
    Data image = frame(rows.number(5)).image;
    if (!applyChanges(image, rows.bytes(6)))
        damaged("changes do not fit their reading");
    auto saved = SavedReading::fromImage(image);
    if (!saved)
        damaged("what it holds of a drive is no reading");
    reading.saved = *std::move(saved);
    return reading;
}

std::optional<KeptReading> HistoryStore::last(const KeptDrive& drive)
{
    return reading("true ORDER BY time DESC LIMIT 1", drive.id);
}

std::optional<KeptReading> HistoryStore::lastBefore(const KeptDrive& drive, Timestamp time)
{
    return reading("time < ?2 ORDER BY time DESC LIMIT 1", drive.id, time);
}

std::optional<KeptReading> HistoryStore::firstAfter(const KeptDrive& drive, Timestamp time)
{
    return reading("time > ?2 ORDER BY time LIMIT 1", drive.id, time);
}

std::optional<KeptReading> HistoryStore::at(const KeptDrive& drive, Timestamp time)
{
    return reading("time = ?2", drive.id, time);
}

std::vector<Timestamp> HistoryStore::marked(const KeptDrive& drive, unsigned marks, Timestamp begin, Timestamp end)
{
    std::vector<Timestamp> times;
    // Among all readings the few that are marked would be searched for one by one.
    Rows rows = database_.query(
        "SELECT time FROM reading INDEXED BY marked WHERE drive = ?1 AND marks IS NOT NULL AND marks & ?2 AND "
        "time >= ?3 AND time < ?4 ORDER BY time",
        drive.id, std::int64_t{marks}, begin, end);
    while (rows.next())
        times.push_back(rows.number(0));
    return times;
}

std::int64_t HistoryStore::count(const KeptDrive& drive)
{
    return database_.number("SELECT count(*) FROM reading WHERE drive = ?1", drive.id);
}

std::vector<KeptAcknowledgement> HistoryStore::acknowledgements(const KeptDrive& drive)
{
    std::vector<KeptAcknowledgement> known;
    Rows rows = database_.query(
        "SELECT rule, name, number, time FROM acknowledgement WHERE drive = ?1 ORDER BY time, rule, name", drive.id);
    while (rows.next())
        known.push_back({{rows.text(0), rows.text(1), numberOf(rows.text(2))}, rows.number(3)});
    return known;
}

void HistoryStore::acknowledge(const KeptDrive& drive, const KeptAcknowledgement& known)
{
    database_.perform("INSERT OR REPLACE INTO acknowledgement (drive, rule, name, number, time) "
                      "VALUES (?1, ?2, ?3, ?4, ?5)",
                      drive.id, known.count.rule, known.count.name, health::decimalText(known.count.number),
                      known.time);
}

std::int64_t HistoryStore::withdraw(const KeptDrive& drive, const std::string& rule)
{
    return database_.perform("DELETE FROM acknowledgement WHERE drive = ?1 AND rule = ?2", drive.id, rule);
}

std::int64_t HistoryStore::prune(Timestamp before)
{
    auto change = transaction();
    const std::int64_t removed =
        database_.perform("DELETE FROM reading WHERE time < ?1 AND marks IS NULL AND "
                          "time < (SELECT max(time) FROM reading AS other WHERE other.drive = reading.drive)",
                          before);
    database_.run("DELETE FROM frame WHERE id NOT IN (SELECT frame FROM reading)");
    change.commit();
    database_.run("PRAGMA incremental_vacuum; PRAGMA wal_checkpoint(TRUNCATE)");
    return removed;
}

} // namespace vantorel::host
