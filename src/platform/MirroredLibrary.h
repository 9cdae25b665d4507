// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Clock.h"
#include "base/SharedDocument.h"
#include "platform/KeyValueStore.h"

#include <functional>

namespace moorix {

/// What a MirroredLibrary announces, whatever it holds.
class LibrarySignals : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

signals:
    void changed();
    void problemChanged();
};

/// One library of records in a file that several programs of this user share, and a copy of it in the cloud key-value
/// store: saved whole after every change; what other programs and machines save is taken over, the later
/// `lastModified` winning. Main thread.
///
/// `Library` has `decode`, `encode`, `empty`, `==` and an optional date `lastModified`.
template <class Library>
class MirroredLibrary final : public LibrarySignals
{
public:
    struct Options
    {
        QString path;
        /// How messages call it: "server library".
        QString subject;
        QString cloudKey;
        /// When false nothing is read from or written to the cloud store.
        bool isCloudOn = false;
        /// Never writes the file.
        bool isInMemoryOnly = false;
        Clock clock = systemNow;
        /// What a first start gets, saved at once; without it nothing is saved before the first change.
        std::optional<Library> first = std::nullopt;
        /// Makes a library that was read or changed consistent.
        std::function<void(Library &)> mend = [](Library &) {};
    };

    /// `kv` is given for the life of the object. A file that is damaged is set aside, and the library starts empty.
    MirroredLibrary(Options options, KeyValueStore &kv);

    const Library &library() const { return m_library; }
    /// Why the file could not be loaded or written the last time; empty when all is well. The library in memory stays
    /// as changed when it cannot be written.
    const QString &problem() const { return m_problem; }
    /// Turned on, it merges with the cloud copy, and sends the library there where it is the newer one.
    void setCloudOn(bool isOn);
    /// `edit` returns whether it changed anything. It works on the library as it stands in the file.
    void change(const std::function<bool(Library &)> &edit);
    /// Takes over what another program has saved and was not announced yet.
    void refresh();

private:
    void load();
    /// Takes over what another program has written into the file; returns whether there was something.
    bool adoptFile();
    QString damageReport(const QString &what, const Error &error) const;
    void writeFile();
    void setProblem(const QString &problem);
    void persist();
    void sendToCloud(const QByteArray &bytes);
    std::optional<Library> cloudLibrary() const;
    void mergeFromCloud();
    void mergeBothWays();
    /// An absent date counts as the distant past.
    static bool isOlder(const std::optional<QDateTime> &a, const std::optional<QDateTime> &b)
    {
        return b && (!a || *a < *b);
    }

    Options m_options;
    SharedDocument m_file;
    KeyValueStore &m_kv;
    Library m_library = Library::empty();
    QString m_problem;
    /// The library holds a change that could not be written.
    bool m_isUnsaved = false;
};

template <class Library>
MirroredLibrary<Library>::MirroredLibrary(Options options, KeyValueStore &kv)
    : m_options(std::move(options))
    , m_file(m_options.path, QStringLiteral("the ") + m_options.subject,
             m_options.isInMemoryOnly ? SharedDocument::Access::readOnly : SharedDocument::Access::readWrite)
    , m_kv(kv)
{
    load();
    const QString loadProblem = m_problem;
    connect(&m_file, &SharedDocument::touched, this, &MirroredLibrary::refresh);
    connect(&m_kv, &KeyValueStore::changedExternally, this, [this](const QStringList &keys) {
        if (keys.contains(m_options.cloudKey))
            mergeFromCloud();
    });
    connect(&m_kv, &KeyValueStore::folderChanged, this, &MirroredLibrary::mergeBothWays);
    if (m_options.isCloudOn)
        m_kv.synchronize();
    mergeFromCloud();
    // Writing what came from the cloud does not make the damaged file less worth telling.
    if (m_problem.isEmpty())
        m_problem = loadProblem;
}

template <class Library>
void MirroredLibrary<Library>::load()
{
    try {
        if (std::optional<Library> library = m_file.readIfChanged<Library>()) {
            m_library = *std::move(library);
            m_options.mend(m_library);
            return;
        }
    } catch (const Error &error) {
        m_problem = damageReport(QStringLiteral("could not be loaded, so the list starts empty"), error);
        return;
    }
    if (!m_options.first)
        return;
    m_library = *m_options.first;
    writeFile();
}

template <class Library>
QString MirroredLibrary<Library>::damageReport(const QString &what, const Error &error) const
{
    const QString kept = m_file.asidePath().isEmpty()
                             ? QString()
                             : QStringLiteral("; the damaged file is kept as “%1”").arg(m_file.asidePath());
    return QStringLiteral("The %1 %2%3. %4").arg(m_options.subject, what, kept, error.message());
}

template <class Library>
void MirroredLibrary<Library>::refresh()
{
    if (adoptFile())
        emit changed();
}

template <class Library>
bool MirroredLibrary<Library>::adoptFile()
{
    try {
        std::optional<Library> written = m_file.readIfChanged<Library>();
        // What could not be saved here is newer than what others save without knowing of it.
        if (!written || (m_isUnsaved && isOlder(written->lastModified, m_library.lastModified)))
            return false;
        m_options.mend(*written);
        m_library = *std::move(written);
        m_isUnsaved = false;
        return true;
    } catch (const Error &error) {
        setProblem(
            damageReport(QStringLiteral("can no longer be read from its file; the list stays as it is here"), error));
        return false;
    }
}

template <class Library>
void MirroredLibrary<Library>::writeFile()
{
    try {
        m_file.write(m_library);
        m_isUnsaved = false;
        setProblem({});
    } catch (const Error &error) {
        m_isUnsaved = true;
        setProblem(error.message());
    }
}

template <class Library>
void MirroredLibrary<Library>::setProblem(const QString &problem)
{
    if (m_problem == problem)
        return;
    m_problem = problem;
    emit problemChanged();
}

template <class Library>
void MirroredLibrary<Library>::change(const std::function<bool(Library &)> &edit)
{
    const auto lock = m_file.lock();
    const bool isAdopted = adoptFile();
    if (edit(m_library))
        persist();
    else if (isAdopted)
        emit changed();
}

template <class Library>
void MirroredLibrary<Library>::persist()
{
    m_options.mend(m_library);
    const QDateTime now = m_options.clock().toUTC();
    // Where another machine's clock is ahead, a change made here must still count as the newer one.
    m_library.lastModified = isOlder(m_library.lastModified, now) ? now : m_library.lastModified->addMSecs(1);
    writeFile();
    sendToCloud(m_library.encode());
    emit changed();
}

template <class Library>
void MirroredLibrary<Library>::sendToCloud(const QByteArray &bytes)
{
    if (!m_options.isCloudOn)
        return;
    m_kv.setValue(m_options.cloudKey, bytes);
    m_kv.synchronize();
}

template <class Library>
void MirroredLibrary<Library>::mergeFromCloud()
{
    const std::optional<Library> cloud = cloudLibrary();
    // A tie goes to the cloud copy. One that equals the local library is the echo of a change made here.
    if (!cloud || isOlder(cloud->lastModified, m_library.lastModified) || *cloud == m_library)
        return;
    m_library = *cloud;
    const auto lock = m_file.lock();
    writeFile();
    emit changed();
}

template <class Library>
std::optional<Library> MirroredLibrary<Library>::cloudLibrary() const
{
    const std::optional<QByteArray> bytes = m_options.isCloudOn ? m_kv.value(m_options.cloudKey) : std::nullopt;
    if (!bytes)
        return std::nullopt;
    try {
        Library library = Library::decode(*bytes);
        m_options.mend(library);
        return library;
    } catch (const Error &) {
        // A copy that cannot be read, perhaps of a newer version of the program, changes nothing here.
        return std::nullopt;
    }
}

template <class Library>
void MirroredLibrary<Library>::setCloudOn(bool isOn)
{
    if (m_options.isCloudOn == isOn)
        return;
    m_options.isCloudOn = isOn;
    if (!isOn)
        return;
    m_kv.synchronize();
    mergeBothWays();
}

template <class Library>
void MirroredLibrary<Library>::mergeBothWays()
{
    if (!m_options.isCloudOn || !m_kv.isAvailable())
        return;
    mergeFromCloud();
    const std::optional<Library> cloud = cloudLibrary();
    const bool isCloudBehind = cloud ? *cloud != m_library : !m_kv.value(m_options.cloudKey);
    // A library that was never changed is the first one of all machines; they need not see it.
    if (m_library.lastModified && isCloudBehind)
        sendToCloud(m_library.encode());
}

} // namespace moorix
