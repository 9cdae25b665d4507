// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/editor/EditorArea.h"

#include "files/FileService.h"
#include "files/Format.h"
#include "platform/Preferences.h"
#include "ui/Widgets.h"

#include <QHBoxLayout>
#include <QStackedWidget>
#include <QTabBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace moorix {

namespace {

const QString wrapsKey = QStringLiteral("editor.wrapsLines");
const QString blanksKey = QStringLiteral("editor.showsBlanks");

} // namespace

EditorArea::EditorArea(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_bar(new QTabBar(this))
    , m_stack(new QStackedWidget(this))
    , m_wraps(model.preferences().value(wrapsKey).toBool())
    , m_showsBlanks(model.preferences().value(blanksKey).toBool())
{
    setObjectName(QStringLiteral("editorArea"));
    setAttribute(Qt::WA_StyledBackground);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeHeader());
    column->addWidget(m_stack, 1);
    connect(m_bar, &QTabBar::currentChanged, this, [this](int index) {
        m_stack->setCurrentIndex(index);
        updateSteps();
        focusContent();
        emit titleChanged();
    });
    connect(m_bar, &QTabBar::tabMoved, this, [this](int from, int to) {
        QWidget *page = m_stack->widget(from);
        m_stack->removeWidget(page);
        m_stack->insertWidget(to, page);
        m_stack->setCurrentIndex(m_bar->currentIndex());
    });
}

QWidget *EditorArea::makeHeader()
{
    auto *header = new QFrame(this);
    header->setObjectName(QStringLiteral("editorHeader"));
    QToolButton *back = Widgets::iconButton(QStringLiteral("go-previous"), tr("Back to the lists; files stay open"),
                                            QStringLiteral("editorBack"), header);
    m_bar->setObjectName(QStringLiteral("editorTabs"));
    m_bar->setMovable(true);
    m_bar->setExpanding(false);
    m_bar->setDrawBase(false);
    m_bar->setElideMode(Qt::ElideNone);
    m_bar->setUsesScrollButtons(true);
    m_bar->setFocusPolicy(Qt::TabFocus);
    auto *row = new QHBoxLayout(header);
    row->setContentsMargins(8, 0, 8, 0);
    row->setSpacing(4);
    row->addWidget(back);
    row->addWidget(m_bar, 1);
    addButton(*row, EditorCommand::save, QStringLiteral("editorSave"));
    addButton(*row, EditorCommand::saveAs, QStringLiteral("editorSaveAs"));
    m_undo = addButton(*row, EditorCommand::undo, QStringLiteral("editorUndo"));
    m_redo = addButton(*row, EditorCommand::redo, QStringLiteral("editorRedo"));
    addButton(*row, EditorCommand::replace, QStringLiteral("editorFind"));
    m_wrap = addButton(*row, EditorCommand::wrapLines, QStringLiteral("editorWrap"));
    m_blanks = addButton(*row, EditorCommand::showBlanks, QStringLiteral("editorBlanks"));
    m_wrap->setCheckable(true);
    m_blanks->setCheckable(true);
    m_wrap->setChecked(m_wraps);
    m_blanks->setChecked(m_showsBlanks);
    connect(back, &QToolButton::clicked, this, &EditorArea::backRequested);
    return header;
}

QToolButton *EditorArea::addButton(QHBoxLayout &row, EditorCommand command, const QString &objectName)
{
    QToolButton *button =
        Widgets::iconButton(infoOf(command).iconName, toolTipOf(command), objectName, row.parentWidget());
    button->setFocusPolicy(Qt::TabFocus);
    row.addWidget(button);
    connect(button, &QToolButton::clicked, this, [this, command] { run(command); });
    return button;
}

QList<EditorPage *> EditorArea::pages() const
{
    QList<EditorPage *> pages;
    for (int i = 0; i < m_stack->count(); ++i)
        pages.append(static_cast<EditorPage *>(m_stack->widget(i)));
    return pages;
}

EditorPage *EditorArea::current() const
{
    return static_cast<EditorPage *>(m_stack->currentWidget());
}

QString EditorArea::title() const
{
    return current() ? Format::display(current()->title()) : tr("Editor");
}

void EditorArea::focusContent()
{
    if (current() && isVisible())
        current()->focusContent();
}

void EditorArea::run(EditorCommand command)
{
    if (current())
        current()->run(command);
}

void EditorArea::stepTab(int step)
{
    if (const int count = m_bar->count(); count > 0)
        m_bar->setCurrentIndex((m_bar->currentIndex() + step + count) % count);
}

void EditorArea::open(const QString &path, const QString &place)
{
    const QList<EditorPage *> all = pages();
    const auto there = std::ranges::find(all, path, &EditorPage::path);
    if (there != all.cend()) {
        m_bar->setCurrentIndex(int(there - all.cbegin()));
        emit shown();
        return;
    }
    take(path, place, [](EditorPage &) {});
}

/// Reads the file and shows it in a page of its own.
void EditorArea::take(const QString &path, const QString &place, const std::function<void(EditorPage &)> &done)
{
    if (m_opening.contains(path))
        return;
    struct Found
    {
        textFile::Reading reading;
        WriteProtection protection;
    };
    m_opening[path] = runJob(
        [disk = m_model.localFiles(), path](const std::stop_token &stop) {
            return Found{textFile::load(*disk, path, std::nullopt, stop), textFile::protectionOf(path)};
        },
        [this, path, place, done](const Found &found) {
            m_opening.erase(path);
            const QString name = Format::display(Format::fileName(path));
            if (found.reading.obstacle == textFile::Obstacle::tooLarge) {
                emit foundTooLarge(
                    path, tr("“%1” has %2; the editor takes up to %3.")
                              .arg(name, Format::byteCount(found.reading.size), Format::byteCount(textFile::maxBytes)));
            } else if (found.reading.obstacle == textFile::Obstacle::noText) {
                emit foundNoText(path);
            } else {
                done(*add({path, place, found.reading.loaded, found.protection}));
                emit shown();
            }
        },
        [this, path](const Error &error) {
            m_opening.erase(path);
            emit m_model.messageRaised(error.message());
        });
}

void EditorArea::restore(const RecoveryCopies::Found &found)
{
    struct Left
    {
        QByteArray text;
        EditorPage::Opened opened;
    };
    const QUuid id = found.id;
    m_restoring[id] = runJob(
        [disk = m_model.localFiles(), recovery = m_model.recoveryCopies(), found](const std::stop_token &stop) {
            Left left{recovery->text(found.id), {found.record.path, found.record.place, {}, {}}};
            left.opened.loaded.encoding = found.record.encoding;
            // A file that is gone, or is no text any more, is one that was changed meanwhile.
            try {
                const auto reading = textFile::load(*disk, found.record.path, found.record.encoding, stop);
                if (reading.obstacle == textFile::Obstacle::none)
                    left.opened.loaded = reading.loaded;
            } catch (const Cancelled &) {
                throw;
            } catch (const Error &) {
                left.opened.loaded.lineEnds = LineEnds::of(left.text);
            }
            return left;
        },
        [this, found](const Left &left) {
            m_restoring.erase(found.id);
            add(left.opened)->restore(found, left.text);
            emit shown();
        },
        [this, id](const Error &error) {
            m_restoring.erase(id);
            emit m_model.messageRaised(error.message());
        });
}

EditorPage *EditorArea::add(const EditorPage::Opened &opened)
{
    auto *page = new EditorPage(m_model, opened, m_stack);
    page->setWraps(m_wraps);
    page->setShowsBlanks(m_showsBlanks);
    connect(page, &EditorPage::titleChanged, this, [this, page] { updateTab(page); });
    connect(page, &EditorPage::stepsChanged, this, &EditorArea::updateSteps);
    connect(page, &EditorPage::closed, this, [this, page] { close(page); });
    connect(page, &EditorPage::comparisonRequested, this, &EditorArea::comparisonRequested);
    connect(page, &EditorPage::messageRaised, &m_model, &AppModel::messageRaised);
    connect(page, &EditorPage::wrapRequested, this,
            [this] { setSwitch(m_wraps, wrapsKey, m_wrap, &EditorPage::setWraps); });
    connect(page, &EditorPage::blanksRequested, this,
            [this] { setSwitch(m_showsBlanks, blanksKey, m_blanks, &EditorPage::setShowsBlanks); });
    m_stack->addWidget(page);
    addCloseButton(m_bar->addTab(QString()), page);
    updateTab(page);
    m_bar->setCurrentIndex(m_bar->count() - 1);
    m_stack->setCurrentWidget(page);
    updateSteps();
    return page;
}

void EditorArea::updateSteps()
{
    m_undo->setEnabled(current() && current()->canUndo());
    m_redo->setEnabled(current() && current()->canRedo());
}

void EditorArea::addCloseButton(int index, EditorPage *page)
{
    auto *button = new QToolButton(m_bar);
    button->setObjectName(QStringLiteral("closeTab"));
    button->setText(QStringLiteral("×"));
    button->setToolTip(tr("Close file"));
    button->setAccessibleName(tr("Close file"));
    button->setFocusPolicy(Qt::NoFocus);
    m_bar->setTabButton(index, QTabBar::RightSide, button);
    connect(button, &QToolButton::clicked, page, [this, page] {
        m_bar->setCurrentIndex(m_stack->indexOf(page));
        run(EditorCommand::close);
    });
}

void EditorArea::setSwitch(bool &value, const QString &key, QToolButton *button, void (EditorPage::*apply)(bool))
{
    value = !value;
    m_model.preferences().setValue(key, value);
    button->setChecked(value);
    for (EditorPage *page : pages())
        (page->*apply)(value);
}

void EditorArea::updateTab(EditorPage *page)
{
    const int index = m_stack->indexOf(page);
    if (index < 0)
        return;
    const QString name = Format::display(page->title()).replace(QLatin1Char('&'), QLatin1String("&&"));
    m_bar->setTabText(index, page->isModified() ? tr("● %1").arg(name) : name);
    m_bar->setTabToolTip(index, Widgets::toolTip(page->where()));
    emit titleChanged();
}

void EditorArea::close(EditorPage *page)
{
    const int index = m_stack->indexOf(page);
    if (index < 0)
        return;
    m_stack->removeWidget(page);
    m_bar->removeTab(index);
    // Later: it is a signal of its own that closes it.
    page->deleteLater();
    if (isEmpty())
        emit emptied();
    else
        focusContent();
}

QList<EditorPage *> EditorArea::unsaved() const
{
    QList<EditorPage *> all = pages();
    all.removeIf([](const EditorPage *page) { return !page->isModified(); });
    return all;
}

void EditorArea::saveAll(std::function<void()> done)
{
    const QList<EditorPage *> open = unsaved();
    if (open.isEmpty())
        return done();
    EditorPage *const page = open.constFirst();
    m_bar->setCurrentIndex(m_stack->indexOf(page));
    emit shown();
    page->saveThen([this, done = std::move(done)]() mutable { saveAll(std::move(done)); });
}

QString EditorArea::keepNow()
{
    QStringList problems;
    for (EditorPage *page : pages())
        problems << page->keepNow();
    problems.removeAll(QString());
    problems.removeDuplicates();
    return problems.join(QLatin1Char(' '));
}

void EditorArea::applyLook()
{
    for (EditorPage *page : pages())
        page->applyLook();
}

} // namespace moorix
