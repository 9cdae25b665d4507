// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/monitor/ProcessPage.h"

#include "monitor/LocalMonitor.h"
#include "ui/MessageBar.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/monitor/ProcessModel.h"
#include "ui/monitor/ProcessTreeView.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScrollBar>

#include <array>

namespace moorix {

using namespace Qt::StringLiterals;
using processSignals::Signal;
using Widgets::TextRole;

namespace {

constexpr std::array<int, 7> columnWidths{200, 76, 90, 76, 92, 84, 104};

QString verb(Signal signal)
{
    switch (signal) {
    case Signal::terminate:
        return ProcessPage::tr("End");
    case Signal::kill:
        return ProcessPage::tr("Kill");
    case Signal::stop:
        return ProcessPage::tr("Stop");
    case Signal::resume:
        return ProcessPage::tr("Go on");
    case Signal::interrupt:
        return ProcessPage::tr("Interrupt");
    case Signal::hangUp:
        return ProcessPage::tr("Hang up");
    }
    return {};
}

QString question(const LocalProcess &process, Signal signal)
{
    const QString who = ProcessPage::tr("“%1” (process %2)").arg(process.name).arg(process.pid);
    if (signal == Signal::terminate)
        return ProcessPage::tr("End %1? It is asked to; what it has not saved may be lost.").arg(who);
    if (signal == Signal::kill)
        return ProcessPage::tr("Kill %1? It ends at once; what it has not saved is lost.").arg(who);
    if (signal == Signal::stop)
        return ProcessPage::tr("Stop %1 until it is told to go on?").arg(who);
    return ProcessPage::tr("Send %1 the signal %2?").arg(who, processSignals::name(signal));
}

} // namespace

ProcessPage::ProcessPage(LocalMonitor &monitor, QWidget *parent)
    : QWidget(parent)
    , m_monitor(monitor)
    , m_model(new ProcessModel(this))
    , m_list(new ProcessTreeView(this))
    , m_message(new MessageBar(this))
{
    setObjectName(u"processPage"_s);
    m_list->setModel(m_model);
    for (std::size_t column = 0; column < columnWidths.size(); ++column)
        m_list->setColumnWidth(int(column), columnWidths[column]);
    m_list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeBar());
    column->addWidget(m_message);
    column->addWidget(m_list, 1);
    connectParts();
}

QWidget *ProcessPage::makeBar()
{
    auto *bar = new QFrame(this);
    bar->setProperty("role", u"bar"_s);
    m_search = new QLineEdit(bar);
    m_search->setObjectName(u"processSearch"_s);
    m_search->setPlaceholderText(tr("Search name, command, user or number…"));
    m_search->setAccessibleName(tr("Search processes"));
    m_search->setClearButtonEnabled(true);
    m_search->addAction(Theme::icon(u"search"_s), QLineEdit::LeadingPosition);
    m_search->setMaximumWidth(320);
    m_search->installEventFilter(this);
    const auto chip = [bar](const QString &text, const QString &name) {
        QPushButton *made = Widgets::button(text, name, bar);
        made->setProperty("role", u"chip"_s);
        made->setCheckable(true);
        return made;
    };
    m_tree = chip(tr("Tree"), u"processTree"_s);
    m_kernel = chip(tr("Kernel threads"), u"processKernel"_s);
    m_count = Widgets::label({}, TextRole::muted, bar);
    m_count->setObjectName(u"processCount"_s);
    m_count->setWordWrap(false);
    m_end = Widgets::button(tr("End…"), u"processEnd"_s, bar);
    auto *row = new QHBoxLayout(bar);
    row->setContentsMargins(12, 8, 12, 8);
    row->setSpacing(8);
    row->addWidget(m_search, 1);
    row->addWidget(m_tree);
    row->addWidget(m_kernel);
    row->addStretch(1);
    row->addWidget(m_count);
    row->addWidget(m_end);
    return bar;
}

void ProcessPage::connectParts()
{
    connect(&m_monitor, &LocalMonitor::changed, this, &ProcessPage::follow);
    connect(m_search, &QLineEdit::textChanged, this, [this] {
        rearrange([this] {
            ProcessArrangement how = m_model->arrangement();
            how.filter = m_search->text().trimmed();
            m_model->setArrangement(how);
        });
    });
    const auto followSwitches = [this] {
        rearrange([this] {
            ProcessArrangement how = m_model->arrangement();
            how.isTree = m_tree->isChecked();
            how.showsKernel = m_kernel->isChecked();
            m_model->setArrangement(how);
        });
    };
    connect(m_tree, &QPushButton::toggled, this, followSwitches);
    connect(m_kernel, &QPushButton::toggled, this, followSwitches);
    connect(m_list->header(), &QHeaderView::sectionClicked, this, &ProcessPage::sortBy);
    connect(m_list, &ProcessTreeView::foldRequested, this, [this](const QModelIndex &index, bool isFolded) {
        const qint64 pid = m_model->process(index)->pid;
        rearrange([this, pid, isFolded] {
            ProcessArrangement how = m_model->arrangement();
            if (isFolded)
                how.collapsed.insert(pid);
            else
                how.collapsed.remove(pid);
            m_model->setArrangement(how);
        });
    });
    connect(m_list, &ProcessTreeView::endRequested, this, [this] { ask(Signal::terminate); });
    connect(m_list, &QWidget::customContextMenuRequested, this, &ProcessPage::showMenu);
    connect(m_end, &QPushButton::clicked, this, [this] { ask(Signal::terminate); });
}

void ProcessPage::follow()
{
    if (!isVisible() || !m_monitor.stats() || !m_monitor.stats()->processes)
        return;
    rearrange([this] { m_model->setProcesses(m_monitor.stats()->processes); });
}

void ProcessPage::rearrange(const std::function<void()> &change)
{
    const LocalProcess *current = m_model->process(m_list->currentIndex());
    const qint64 pid = current ? current->pid : 0;
    const quint64 startTime = current ? current->startTime : 0;
    const int scrolled = m_list->verticalScrollBar()->value();
    change();
    const QModelIndex index = m_model->indexOf(pid);
    // A later process of the same number must not be taken for the one that was chosen.
    if (index.isValid() && m_model->process(index)->startTime == startTime) {
        m_list->selectionModel()->setCurrentIndex(index,
                                                  QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    }
    m_list->verticalScrollBar()->setValue(scrolled);
    showCount();
}

void ProcessPage::showCount()
{
    const int rows = m_model->rowCount();
    m_count->setText(rows == 1 ? tr("1 process") : tr("%n processes", nullptr, rows));
}

void ProcessPage::sortBy(int column)
{
    rearrange([this, column] {
        ProcessArrangement how = m_model->arrangement();
        const auto wanted = ProcessColumn(column);
        const bool isText =
            wanted == ProcessColumn::name || wanted == ProcessColumn::user || wanted == ProcessColumn::state;
        how.isAscending = how.sortBy == wanted ? !how.isAscending : isText || wanted == ProcessColumn::pid;
        how.sortBy = wanted;
        m_model->setArrangement(how);
    });
}

void ProcessPage::showMenu(const QPoint &position)
{
    if (!m_model->process(m_list->indexAt(position)))
        return;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (const Signal signal :
         {Signal::terminate, Signal::kill, Signal::stop, Signal::resume, Signal::interrupt, Signal::hangUp}) {
        menu->addAction(u"%1 (%2)…"_s.arg(verb(signal), processSignals::name(signal)), this,
                        [this, signal] { ask(signal); });
    }
    menu->popup(m_list->viewport()->mapToGlobal(position));
}

void ProcessPage::ask(Signal signal)
{
    const LocalProcess *current = m_model->process(m_list->currentIndex());
    if (!current) {
        m_message->tell(tr("Select a process first."), MessageBar::Tone::information);
        return;
    }
    // As it is seen now, whatever the list holds by the time of the answer.
    const LocalProcess process = *current;
    if (signal == Signal::resume) {
        send(process, signal);
        return;
    }
    const auto tone = signal == Signal::kill ? MessageBar::Tone::danger : MessageBar::Tone::warning;
    m_message->ask(question(process, signal), verb(signal), tone, [this, process, signal] { send(process, signal); });
}

void ProcessPage::send(const LocalProcess &process, Signal signal)
{
    m_job = runJob([process, signal](const std::stop_token &) { processSignals::send(process, signal); },
                   [this] { m_monitor.tick(); },
                   [this](const Error &error) { m_message->tell(error.message(), MessageBar::Tone::danger); });
}

void ProcessPage::focusSearch()
{
    m_search->setFocus();
    m_search->selectAll();
}

void ProcessPage::focusList()
{
    m_list->setFocus();
}

void ProcessPage::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    follow();
}

bool ProcessPage::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_search && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key == Qt::Key_Escape && !m_search->text().isEmpty()) {
            m_search->clear();
            return true;
        }
        if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Down) {
            focusList();
            if (!m_list->currentIndex().isValid())
                m_list->setCurrentIndex(m_model->index(0, 0));
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace moorix
