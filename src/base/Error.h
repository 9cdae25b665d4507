// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <exception>

namespace moorix {

/// The one base of everything the system throws: the domain it comes from and the sentence the user reads.
/// The message says what failed, on what, and in the tool's own words why; it has no "Error:" in front.
class Error : public std::exception
{
public:
    Error(QString domain, QString message);

    const QString &domain() const { return m_domain; }
    const QString &message() const { return m_message; }
    /// The message as UTF-8, valid as long as the object.
    const char *what() const noexcept override { return m_utf8.constData(); }

private:
    QString m_domain;
    QString m_message;
    QByteArray m_utf8;
};

/// Thrown by work whose stop token was triggered. Nobody is told: who asked for the stop knows.
class Cancelled final : public Error
{
public:
    Cancelled();
};

/// The system's own sentence for an errno value ("No such file or directory").
QString systemErrorText(int errorNumber);

} // namespace moorix
