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
                 "compare "
                 "the fingerprints with those that the server itself reports.")
            : tr("%1 has never been connected to from this account, and this server is set to refuse unknown hosts. "
                 "Compare the fingerprint with the one that whoever runs the server tells you; if it is the same, the "
                 "key can be trusted.");
    column->addWidget(Widgets::label(meaning.arg(m_server.host), Widgets::TextRole::body, this));
    if (reason == Reason::keyChanged)
        m_known = addFingerprints(*column, tr("Known until now"), QStringLiteral("knownKeys"));
    m_offered = addFingerprints(*column, tr("Shown by the server now"), QStringLiteral("offeredKeys"));
    if (reason == Reason::keyChanged)
        addForgetting(*column);
    else
        addTrusting(*column);
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

void HostKeyPanel::addForgetting(QVBoxLayout &column)
{
    m_question =
        Widgets::label(tr("The next connection will accept whatever key the server shows. Forget the old one?"),
                       Widgets::TextRole::error, this);
    m_forget = Widgets::button(tr("Forget the old key…"), QStringLiteral("forgetKey"), this);
    m_confirm = Widgets::button(tr("Forget it and connect"), QStringLiteral("confirmForgetKey"), this);
    m_confirm->setProperty("role", QStringLiteral("danger"));
    m_question->hide();
    m_confirm->hide();
    auto *row = new QHBoxLayout;
    row->addWidget(m_forget);
    row->addWidget(m_confirm);
    row->addWidget(m_question, 1);
    row->addStretch();
    column.addLayout(row);
    connect(m_forget, &QPushButton::clicked, this, [this] {
        m_forget->hide();
        m_question->show();
        m_confirm->show();
        m_confirm->setFocus();
    });
    connect(m_confirm, &QPushButton::clicked, this, &HostKeyPanel::forget);
}

void HostKeyPanel::addTrusting(QVBoxLayout &column)
{
    m_trust = Widgets::button(tr("Trust this key and connect"), QStringLiteral("trustKey"), this);
    m_trust->setEnabled(false);
    m_question = Widgets::label({}, Widgets::TextRole::error, this);
    m_question->setObjectName(QStringLiteral("trustProblem"));
    m_question->hide();
    auto *row = new QHBoxLayout;
    row->addWidget(m_trust);
    row->addWidget(m_question, 1);
    row->addStretch();
    column.addLayout(row);
    connect(m_trust, &QPushButton::clicked, this, &HostKeyPanel::trust);
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
                   if (m_trust) {
                       m_trust->setText(offered.size() > 1 ? tr("Trust these keys and connect")
                                                           : tr("Trust this key and connect"));
                       m_trust->setEnabled(!offered.isEmpty());
                   }
               },
               [this](const Error &error) { m_offered->setText(error.message()); });
}

void HostKeyPanel::forget()
{
    m_confirm->setEnabled(false);
    m_forgetJob = runJob([server = m_server,
                          runner = m_runner](const std::stop_token &stop) { HostKeys::forget(server, *runner, stop); },
                         [this] { emit forgotten(); },
                         [this](const Error &error) {
                             m_confirm->setEnabled(true);
                             m_question->setText(error.message());
                         });
}

void HostKeyPanel::trust()
{
    m_trust->setEnabled(false);
    m_trustJob = runJob([server = m_server, keys = m_offeredKeys, runner = m_runner](
                            const std::stop_token &stop) { HostKeys::trust(server, keys, *runner, stop); },
                        [this] { emit trusted(); },
                        [this](const Error &error) {
                            m_trust->setEnabled(true);
                            m_question->setText(error.message());
                            m_question->show();
                        });
}

} // namespace moorix
