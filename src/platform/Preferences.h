// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QJsonObject>
#include <QObject>
#include <QTimer>

namespace moorix {

/// The per-user preferences: one JSON object of typed values in one file. A file that cannot be decoded is set aside
/// and the preferences start empty. Main thread.
class Preferences final : public QObject
{
    Q_OBJECT

public:
    explicit Preferences(QString path, QObject *parent = nullptr);
    /// Saves what is not saved yet.
    ~Preferences() override;

    /// Undefined when the key is not stored.
    QJsonValue value(const QString &key) const;
    /// The file is written a moment later, so that a dragged column edge is one write; `flush` does it at once. What
    /// could not be written is tried again with the next change and at the end.
    void setValue(const QString &key, const QJsonValue &value);
    void flush();

signals:
    /// The preferences could not be written; the sentence says why. The values stay in force.
    void saveFailed(const QString &message);

private:
    void load();

    QString m_path;
    QJsonObject m_values;
    /// Something is not in the file yet; stays set when writing fails.
    bool m_isDirty = false;
    QTimer m_saveTimer;
};

} // namespace moorix
