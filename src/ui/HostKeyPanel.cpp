// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/HostKeyPanel.h"

#include "remote/HostKeys.h"
#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace moorix {

namespace {

QString linesOr(const QStringList &fingerprints, const QString &none)
{
    return fingerprints.isEmpty() ? none : fingerprints.join(u'\n');
}

} // namespace

std::optional<HostKeyPanel::Reason> HostKeyPanel::reasonOf(const QString &clientWords)
{
    if (clientWords.contains(QLatin1String("HOST IDENTIFICATION HAS CHANGED")) ||
        clientWords.contains(QLatin1String("does not match pinned public key")))
        return Reason::keyChanged;
    if (clientWords.contains(QLatin1String("host key is known for")))
        return Reason::hostUnknown;
    return std::nullopt;
}

HostKeyPanel::HostKeyPanel(const ServerConnection &server, Reason reason, std::shared_ptr<ProcessRunner> runner,
                           QWidget *parent)
    : QFrame(parent)
    , m_server(server)
    , m_runner(std::move(runner))
{
    setObjectName(QStringLiteral("hostKeyPanel"));
    setProperty("role", QStringLiteral("card"));
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(16, 12, 16, 12);
    const QString meaning =
        reason == Reason::keyChanged
            ? tr("%1 shows another key than before. That is harmless when the server was reinstalled or its keys were "
                 "renewed. It can also mean that someone else answers in its place. Ask who runs the server, or "
                 "compare the "
                 "fingerprints with those that the server itself reports.")
            : tr("%1 has never been connected to from this account, and this server is set to refuse unknown hosts. "
                 "Compare the fingerprint with the one that whoever runs the server tells you; if it is the same, the "
                 "key can be trusted.");
    column->addWidget(Widgets::label(meaning.arg(m_server.host), Widgets::TextRole::body, this));
    if (reason == Reason::keyChanged)
        m_known = addFingerprints(*column, tr("Known until now"), QStringLiteral("knownKeys"));
    m_offered = addFingerprints(*column, tr("Shown by the server now"), QStringLiteral("offeredKeys"));
    addTrusting(*column, reason);
    loadFingerprints();
}

HostKeyPanel::~HostKeyPanel() = default;

QLabel *HostKeyPanel::addFingerprints(QVBoxLayout &column, const QString &title, const QString &objectName)
{
    column.addWidget(Widgets::label(title, Widgets::TextRole::section, this));
    QLabel *list = Widgets::label(tr("Asking…"), Widgets::TextRole::monospace, this);
    list->setObjectName(objectName);
    list->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    column.addWidget(list);
    return list;
}

/// Trusting another key than the known one takes a second click.
void HostKeyPanel::addTrusting(QVBoxLayout &column, Reason reason)
{
    m_trust = Widgets::button({}, QStringLiteral("trustKey"), this);
    m_trust->setEnabled(false);
    nameTrustButton();
    m_problem = Widgets::label({}, Widgets::TextRole::error, this);
    m_problem->setObjectName(QStringLiteral("trustProblem"));
    m_problem->hide();
    auto *row = new QHBoxLayout;
    if (reason == Reason::keyChanged) {
        QPushButton *replace = Widgets::button(tr("Replace the known key…"), QStringLiteral("replaceKey"), this);
        row->addWidget(replace);
        m_trust->setProperty("role", QStringLiteral("danger"));
        m_trust->hide();
        connect(replace, &QPushButton::clicked, this, [this, replace] {
            replace->hide();
            m_trust->show();
            m_trust->setFocus();
            showProblem(tr("From then on only what the server shows now is accepted. Have you compared it?"));
        });
    }
    row->addWidget(m_trust);
    row->addWidget(m_problem, 1);
    row->addStretch();
    column.addLayout(row);
    connect(m_trust, &QPushButton::clicked, this, &HostKeyPanel::trust);
}

void HostKeyPanel::nameTrustButton()
{
    m_trust->setText(m_offeredKeys.size() > 1 ? tr("Trust these keys and connect") : tr("Trust this key and connect"));
}

void HostKeyPanel::showProblem(const QString &sentence)
{
    m_problem->setText(sentence);
    m_problem->show();
}

void HostKeyPanel::loadFingerprints()
{
    if (m_known) {
        m_knownJob = runJob(
            [server = m_server, runner = m_runner](const std::stop_token &stop) {
                return HostKeys::knownFingerprints(server, *runner, stop);
            },
            [this](const QStringList &known) { m_known->setText(linesOr(known, tr("None in your known hosts"))); },
            [this](const Error &error) { m_known->setText(error.message()); });
    }
    m_offeredJob =
        runJob([server = m_server, runner = m_runner](
                   const std::stop_token &stop) { return HostKeys::offeredFingerprints(server, *runner, stop); },
               [this](const QStringList &offered) {
                   m_offered->setText(linesOr(offered, tr("The server shows none")));
                   m_offeredKeys = offered;
                   nameTrustButton();
                   m_trust->setEnabled(!offered.isEmpty());
               },
               [this](const Error &error) { m_offered->setText(error.message()); });
}

void HostKeyPanel::trust()
{
    m_trust->setEnabled(false);
    m_trustJob = runJob([server = m_server, keys = m_offeredKeys, runner = m_runner](
                            const std::stop_token &stop) { HostKeys::trust(server, keys, *runner, stop); },
                        [this] { emit trusted(); },
                        [this](const Error &error) {
                            m_trust->setEnabled(true);
                            showProblem(error.message());
                        });
}

} // namespace moorix
