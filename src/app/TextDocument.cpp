// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/TextDocument.h"

#include "base/Json.h"
#include "files/FileService.h"
#include "files/Format.h"
#include "files/NativePath.h"

#include <QFileInfo>
#include <QPointer>

#include <chrono>
#include <variant>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace moorix {

namespace {

void keepIfPossible(RecoveryCopies &recovery, const QUuid &id, qint64 turn, const RecoveryRecord &record,
                    const QByteArray &text)
{
    try {
        recovery.write(id, turn, record, text);
    } catch (const Error &) {
        // Saving comes first, and has a part file of its own.
    }
}

} // namespace

TextDocument::TextDocument(Environment environment, const QString &path, const QString &place, const LoadedText &loaded,
                           WriteProtection protection, QObject *parent)
    : QObject(parent)
    , m_environment(std::move(environment))
    , m_record{path, place, loaded.encoding, loaded.version}
    , m_protection(std::move(protection))
    , m_id(newUuid())
{
    // Programs that save touch a file several times.
    m_settling.setSingleShot(true);
    m_settling.setInterval(250ms);
    connect(&m_settling, &QTimer::timeout, this, &TextDocument::look);
    const auto notice = [this] {
        watch();
        m_settling.start();
    };
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, notice);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, notice);
    watch();
}

QString TextDocument::name() const
{
    return Format::fileName(m_record.path);
}

/// A file that is replaced by another one has to be watched anew, of which its folder tells.
void TextDocument::watch()
{
    const QString folder = Format::parent(path());
    if (!NativePath::isUnicode(path()))
        return;
    if (!m_watcher.directories().contains(folder))
        m_watcher.addPath(folder);
    if (!m_watcher.files().contains(path()) && QFileInfo::exists(path()))
        m_watcher.addPath(path());
}

void TextDocument::setStanding(Standing standing)
{
    if (std::exchange(m_standing, standing) != standing)
        emit standingChanged();
}

void TextDocument::look()
{
    // A save tells for itself.
    if (m_isSaving)
        return;
    m_looking = runJob(
        [disk = m_environment.disk, path = path(), known = m_record.version](const std::stop_token &stop) {
            return std::pair(textFile::standing(*disk, path, known, stop), known);
        },
        [this](const std::pair<Standing, FileVersion> &found) {
            // What was saved meanwhile was looked for in vain.
            if (!m_isSaving && found.second == m_record.version)
                setStanding(found.first);
        },
        // A file that cannot be looked at is none that was changed; saving says what is wrong.
        [](const Error &) {});
}

void TextDocument::adopt(const RecoveryCopies::Found &found)
{
    m_id = found.id;
    m_record = found.record;
    watch();
    look();
}

void TextDocument::keep(const QByteArray &text, std::function<void(const QString &)> done)
{
    m_keeping = runJob([recovery = m_environment.recovery, id = m_id, turn = ++m_turn, record = m_record,
                        text](const std::stop_token &) { recovery->write(id, turn, record, text); },
                       [done = std::move(done), path = m_environment.recovery->textPath(m_id)] {
                           if (done)
                               done(path);
                       },
                       [this](const Error &error) { emit keepFailed(error.message()); });
}

QString TextDocument::keepNow(const QByteArray &text)
{
    m_keeping.cancel();
    try {
        m_environment.recovery->write(m_id, ++m_turn, m_record, text);
    } catch (const Error &error) {
        return error.message();
    }
    return {};
}

void TextDocument::forget()
{
    m_keeping = runJob([recovery = m_environment.recovery, id = m_id,
                        turn = ++m_turn](const std::stop_token &) { recovery->remove(id, turn); },
                       [] {}, [](const Error &) {});
    // Also when the document is closed at this moment.
    m_keeping.detach();
}

void TextDocument::save(const QByteArray &text, Guard guard)
{
    write(text, path(), guard == Guard::known ? std::optional(m_record.version) : std::nullopt);
}

void TextDocument::saveAs(const QByteArray &text, const QString &path)
{
    write(text, path, std::nullopt);
}

void TextDocument::write(const QByteArray &text, const QString &path, const std::optional<FileVersion> &known)
{
    if (m_isSaving)
        return;
    m_isSaving = true;
    m_looking.cancel();
    // What is read now may be neither what is there afterwards nor what is shown.
    m_loading.cancel();
    using Outcome = std::variant<textFile::Unencodable, textFile::Saving>;
    m_saving = runJob(
        [environment = m_environment, text, path, known, id = m_id, turn = ++m_turn,
         record = m_record](const std::stop_token &stop) -> Outcome {
            const QString decoded = textOfUtf8(text);
            const auto bytes = encodedText(decoded, record.encoding);
            if (!bytes)
                return textFile::firstUnencodable(decoded, record.encoding).value_or(textFile::Unencodable{});
            if (textFile::isWrittenOver(path))
                keepIfPossible(*environment.recovery, id, turn, record, text);
            return textFile::save(*environment.disk, path, *bytes, known, stop);
        },
        [this, path, self = QPointer(this)](const Outcome &outcome) {
            if (!self)
                return;
            m_isSaving = false;
            if (const auto *bad = std::get_if<textFile::Unencodable>(&outcome))
                return emit unencodable(bad->character, bad->line);
            const auto &saving = std::get<textFile::Saving>(outcome);
            if (saving.standing != Standing::same) {
                setStanding(saving.standing);
                return emit saveRefused(saving.standing);
            }
            if (path != m_record.path) {
                m_record.path = path;
                m_record.place.clear();
                m_protection = {};
            }
            m_record.version = saving.version;
            setStanding(Standing::same);
            watch();
            emit saved();
        },
        [this, self = QPointer(this)](const Error &error) {
            if (!self)
                return;
            m_isSaving = false;
            emit saveFailed(error.message());
        });
    // What was asked for is saved although the window closes meanwhile.
    m_saving.detach();
}

void TextDocument::reload(std::optional<TextEncoding> encoding)
{
    struct Found
    {
        textFile::Reading reading;
        WriteProtection protection;
    };
    m_loading = runJob(
        [disk = m_environment.disk, path = path(), encoding](const std::stop_token &stop) {
            return Found{textFile::load(*disk, path, encoding, stop), textFile::protectionOf(path)};
        },
        [this, encoding](const Found &found) {
            const textFile::Reading &reading = found.reading;
            if (reading.obstacle == textFile::Obstacle::tooLarge)
                return emit reloadFailed(u"“%1” has %2 by now, which is too much for the editor."_s.arg(
                    Format::display(name()), Format::byteCount(reading.size)));
            if (reading.obstacle == textFile::Obstacle::noText)
                return emit reloadFailed(
                    encoding ? u"“%1” is not written in %2."_s.arg(Format::display(name()), nameOf(*encoding))
                             : u"“%1” is no text by now."_s.arg(Format::display(name())));
            m_record.version = reading.loaded.version;
            m_record.encoding = reading.loaded.encoding;
            m_protection = found.protection;
            setStanding(Standing::same);
            emit reloaded(reading.loaded);
        },
        [this](const Error &error) { emit reloadFailed(error.message()); });
}

} // namespace moorix
