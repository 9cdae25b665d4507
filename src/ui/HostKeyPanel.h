// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "servers/ServerConnection.h"

#include <QFrame>
#include <QStringList>

#include <memory>

class QLabel;
class QPushButton;
class QVBoxLayout;

namespace moorix {

class ProcessRunner;

/// What a failed host key check means, with the fingerprints of both sides, and the way to go on once the user has
/// compared them: trusting the keys shown, and no other.
class HostKeyPanel final : public QFrame
{
    Q_OBJECT

public:
    /// Why the client refused the host: its key is another than before, or the host is unknown and must not be.
    enum class Reason { keyChanged, hostUnknown };

    /// The reason in the client's words, or nothing when they are about something else.
    static std::optional<Reason> reasonOf(const QString &clientWords);

    HostKeyPanel(const ServerConnection &server, Reason reason, std::shared_ptr<ProcessRunner> runner,
                 QWidget *parent = nullptr);
    ~HostKeyPanel() override;

signals:
    /// The keys that were shown, and no others, are known now.
    void trusted();

private:
    QLabel *addFingerprints(QVBoxLayout &column, const QString &title, const QString &objectName);
    void addTrusting(QVBoxLayout &column, Reason reason);
    void nameTrustButton();
    void showProblem(const QString &sentence);
    void loadFingerprints();
    void trust();

    ServerConnection m_server;
    std::shared_ptr<ProcessRunner> m_runner;
    QLabel *m_known = nullptr;
    QLabel *m_offered;
    QLabel *m_problem;
    QPushButton *m_trust;
    /// As shown: what the user compares is what is trusted.
    QStringList m_offeredKeys;
    Job m_knownJob;
    Job m_offeredJob;
    Job m_trustJob;
};

} // namespace moorix
