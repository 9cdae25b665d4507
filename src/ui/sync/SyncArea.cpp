// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/sync/SyncArea.h"

#include "app/AppModel.h"
#include "app/Comparison.h"
#include "base/Error.h"
#include "sync/SyncEngine.h"
#include "sync/SyncPairStore.h"
#include "sync/SyncText.h"
#include "ui/sync/SyncLook.h"
#include "ui/sync/SyncOverview.h"
#include "ui/sync/SyncPage.h"

#include <utility>

namespace moorix {

SyncArea::SyncArea(AppModel &model, QWidget *parent)
    : QStackedWidget(parent)
    , m_model(model)
    , m_overview(new SyncOverview(model, this))
{
    setObjectName(QStringLiteral("syncArea"));
    addWidget(m_overview);
    connect(&model.sync(), &SyncEngine::changed, this, &SyncArea::followEngine);
    connect(m_overview, &SyncOverview::backRequested, this, &SyncArea::backRequested);
    connect(m_overview, &SyncOverview::shownPairRequested, this, &SyncArea::showShownPair);
    connect(m_overview, &SyncOverview::pairRequested, this, &SyncArea::showPair);
    connect(m_overview, &SyncOverview::settingsRequested, this, &SyncArea::showSettings);
}

SyncArea::~SyncArea() = default;

QString SyncArea::shownKey() const
{
    return m_page ? m_page->session().key() : QString();
}

QString SyncArea::title() const
{
    return m_page ? SyncLook::title(m_page->session().pair(), m_page->session().server()) : tr("Synced folders");
}

void SyncArea::showOverview()
{
    dropPage();
    m_overview->refill();
    setCurrentWidget(m_overview);
    emit shown();
    m_overview->focusContent();
}

void SyncArea::showShownPair()
{
    try {
        const auto [pair, server] = m_model.shownPair();
        SyncPage *page = show(m_model.sync().open(pair, server));
        if (page->session().state() == SyncSession::State::idle)
            page->session().look();
    } catch (const Error &) {
        // The overview says why.
        showOverview();
    }
}

SyncSession *SyncArea::sessionOf(const QUuid &id)
{
    const auto pair = m_model.sync().pairs().pair(id);
    const auto server = pair ? m_model.sync().recordOf(*pair) : std::nullopt;
    if (!server) {
        showOverview();
        return nullptr;
    }
    return &m_model.sync().open(*pair, *server);
}

void SyncArea::showPair(const QUuid &pair)
{
    SyncSession *session = sessionOf(pair);
    if (!session)
        return;
    // What waits for the user is not thrown away.
    const bool waits = session->state() == SyncSession::State::review || m_unseen.contains(session->key());
    show(*session);
    if (!waits && !session->isBusy())
        session->look();
}

void SyncArea::showSession(const QString &key)
{
    if (SyncSession *session = m_model.sync().find(key))
        show(*session);
}

void SyncArea::showSettings(const QUuid &pair)
{
    if (SyncSession *session = sessionOf(pair))
        show(*session)->showSettings();
}

void SyncArea::askToForget(const QUuid &id)
{
    const auto pair = m_model.sync().pairs().pair(id);
    if (!pair)
        return;
    showOverview();
    m_overview->askToForget(*pair);
}

SyncPage *SyncArea::show(SyncSession &session)
{
    if (!m_page || &m_page->session() != &session) {
        dropPage();
        m_page = new SyncPage(m_model.sync(), session, this);
        addWidget(m_page);
        connect(m_page, &SyncPage::backRequested, this, &SyncArea::backRequested);
        connect(m_page, &SyncPage::comparisonRequested, this, &SyncArea::comparisonRequested);
        connect(m_page, &SyncPage::messageRaised, &m_model, &AppModel::messageRaised);
    }
    m_unseen.remove(session.key());
    setCurrentWidget(m_page);
    emit shown();
    m_page->focusContent();
    return m_page;
}

void SyncArea::leave()
{
    dropPage();
}

void SyncArea::dropPage()
{
    SyncPage *page = std::exchange(m_page, nullptr);
    if (!page)
        return;
    SyncSession &session = page->session();
    page->disconnect(this);
    removeWidget(page);
    page->hide();
    page->deleteLater();
    if (!session.isBusy() && !session.hasChoices())
        m_model.sync().close(session);
}

/// A run that nobody looks at must not end without a word.
void SyncArea::tellEnds()
{
    for (const SyncSession *session : m_model.sync().sessions()) {
        if (session->isApplying()) {
            m_applying.insert(session->key());
        } else if (!session->isBusy() && m_applying.remove(session->key()) && session->key() != shownKey()) {
            m_unseen.insert(session->key());
            const QString what = session->problem().isEmpty() && session->outcome()
                                     ? SyncText::summary(*session->outcome())
                                     : session->problem().section(u'\n', 0, 0);
            emit m_model.messageRaised(tr("%1: %2").arg(SyncLook::title(session->pair(), session->server()), what));
        }
    }
}

void SyncArea::followEngine()
{
    tellEnds();
    if (!m_page || m_model.sync().sessions().contains(&m_page->session()))
        return;
    // The pair was forgotten; nothing of its session may be asked any more.
    SyncPage *page = std::exchange(m_page, nullptr);
    removeWidget(page);
    page->hide();
    page->deleteLater();
    emit backRequested();
}

void SyncArea::focusContent()
{
    if (m_page)
        m_page->focusContent();
    else
        m_overview->focusContent();
}

void SyncArea::focusSearch()
{
    if (m_page)
        m_page->focusSearch();
}

void SyncArea::reload()
{
    if (m_page)
        m_page->session().look();
}

} // namespace moorix
