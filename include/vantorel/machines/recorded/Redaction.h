// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/PropertyValue.h"
#include "vantorel/base/Public.h"
#include "vantorel/base/Uuid.h"
#include "vantorel/machines/recorded/Recording.h"

#include <compare>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace VANTOREL_PUBLIC vantorel {
namespace recorded {

class TextSearch;

/// Puts pseudonyms in the place of what tells one computer from another: serial numbers, UUIDs, World Wide Names and
/// the addresses of network interfaces, and the names of users and hosts.
///
/// It is used in two rounds. The first notes what is to go, from everything that will be redacted; the second replaces
/// it wherever it stands: in texts, in data as text, as bytes, with the bytes of each word exchanged as drives have
/// them, and as UTF-16. A pseudonym has the length and the kinds of characters of the original, so nothing moves; it is
/// made of a digest of the original, so that it is the same in every recording. Whoever can guess an original can
/// therefore check the guess.
///
/// UUIDs that name a kind and no thing, such as the type of a partition, stay.
class Redaction {
public:
    Redaction();
    Redaction(Redaction&&) noexcept;
    Redaction& operator=(Redaction&&) noexcept;
    ~Redaction();

    /// The name of a user or a host, which goes wherever it is a word of its own.
    void noteName(std::string_view name);
    /// A property under its key, with everything in it.
    void note(std::string_view key, const PropertyValue& value);
    void note(const PropertyTable& properties);
    void note(const Recording& recording);
    /// IDENTIFY DEVICE or Identify Controller data.
    void noteIdentify(RecordedDrive::Kind kind, DataView identify);

    // All of these throw `RecordingError` when there is more to redact than any machine has.

    /// Ends the first round; to be called once.
    void prepare();

    [[nodiscard]] std::string redacted(std::string_view text) const;
    [[nodiscard]] base::Uuid redacted(const base::Uuid& uuid) const;
    [[nodiscard]] Data redacted(DataView bytes) const;
    void redact(std::string_view key, PropertyValue& value) const;
    void redact(PropertyTable& properties) const;
    void redact(Recording& recording) const;

private:
    enum class Kind : std::uint8_t { text, hexadecimal, word };
    /// How a secret is written where a pattern finds it: as a text has capital letters or small ones.
    enum class Form : std::uint8_t { text, bytes };

    struct Secret {
        std::string plain; ///< in small letters; of UUIDs and names of hardware hexadecimal digits alone
        Kind kind = Kind::text;
        auto operator<=>(const Secret&) const = default;
    };
    struct Pattern {
        std::string pseudonym; ///< of the secret, written as the pattern is
        Kind kind = Kind::text;
        Form form = Form::text;
    };

    void insert(Secret secret);
    void noteText(std::string_view key, const std::string& text);
    void noteSerial(std::string_view serial);
    void noteDigits(std::string digits);
    void noteUuids(std::string_view text);
    void noteUsers(std::string_view text);
    void addPatterns(const Secret& secret);
    void add(const std::string& text, std::string pseudonym, Kind kind, Form form);
    bool replace(std::string& bytes) const;
    void redact(RecordedVolume& volume) const;
    void redact(RecordedDrive& drive) const;
    void redact(std::vector<system::RegistryEntry>& entries) const;

    std::set<Secret> secrets_;
    std::set<std::string> kinds_; ///< digits of the UUIDs that stay
    std::vector<Pattern> patterns_;
    std::unique_ptr<TextSearch> search_;
};

} // namespace recorded
} // namespace vantorel
