// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"
#include "vantorel/base/Public.h"

#include <string>
#include <utility>

namespace VANTOREL_PUBLIC vantorel {
namespace system {

/// An image in its least form: the bytes of an image file, for the host to draw, or no bytes at all.
class Image {
public:
    /// An empty image.
    Image() = default;

    /// The image in a file: an Apple icon, PNG, TIFF, JPEG or GIF of at most 32 MiB, told by how its bytes begin. An
    /// empty image for any other file and one that cannot be read.
    [[nodiscard]] static Image contentsOfFile(const std::string& path);

    [[nodiscard]] bool isEmpty() const { return bytes_.empty(); }
    [[nodiscard]] const Data& bytes() const { return bytes_; }

private:
    explicit Image(Data bytes) : bytes_(std::move(bytes)) {}

    Data bytes_;
};

} // namespace system
} // namespace vantorel
