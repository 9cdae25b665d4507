// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TarFormat.h"

#include <functional>
#include <optional>

namespace moorix {

/// Reads a tar archive as it comes in, in pieces of any size: ustar, pax and the long names of GNU tar. It only tells
/// what is in there; what to do with a name is the caller's concern. One thread.
class TarReader final
{
public:
    struct Events
    {
        std::function<void(const TarEntry &entry)> began;
        /// A piece of the content of the file that began last.
        std::function<void(QByteArrayView bytes)> content;
        /// All of the entry has been read.
        std::function<void()> ended;
    };

    explicit TarReader(Events events);

    /// Throws an Error when this is no archive.
    void feed(QByteArrayView bytes);
    /// The archive's end was read.
    bool isComplete() const { return m_state == State::complete; }

private:
    enum class State { header, extension, content, padding, complete };

    qsizetype take(QByteArrayView bytes);
    void readHeader();
    void readExtension();
    void readRecords(const QByteArray &records);
    void endEntry();

    Events m_events;
    State m_state = State::header;
    /// The header, or a record of the format itself, as far as it has come in.
    QByteArray m_collected;
    char m_extensionType = 0;
    /// Bytes of the present content or padding that have not come in.
    qint64 m_left = 0;
    qint64 m_paddingBytes = 0;
    bool m_isEntry = false;
    /// What the next header's fields are to be replaced by.
    QByteArray m_longPath;
    QByteArray m_longLink;
    qint64 m_longSize = -1;
    std::optional<qint64> m_statedTime;
};

} // namespace moorix
