// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/pane/QuickLook.h"

#include "files/Format.h"
#include "files/PaneModel.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/pane/QuickLookContent.h"

#include <QKeyEvent>
#include <QLabel>
#include <QPlainTextEdit>
#include <QStackedWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace moorix {

QuickLook::QuickLook(PaneModel &pane, QWidget *parent)
    : QDialog(parent)
    , m_pane(pane)
    , m_pages(new QStackedWidget(this))
    , m_text(new QPlainTextEdit(this))
    , m_picture(new QLabel(this))
    , m_message(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_footer(Widgets::label({}, Widgets::TextRole::muted, this))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(u"quickLook"_s);
    m_text->setObjectName(u"quickLookText"_s);
    m_text->setReadOnly(true);
    m_text->setAccessibleName(tr("Content of the file"));
    m_text->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_text->setFont(Theme::monospace());
    m_text->setFrameShape(QFrame::NoFrame);
    m_text->setProperty("role", u"page"_s);
    m_text->installEventFilter(this);
    m_picture->setObjectName(u"quickLookPicture"_s);
    m_picture->setAlignment(Qt::AlignCenter);
    // The window decides how large the picture is, not the picture how large the window.
    m_picture->setMinimumSize(1, 1);
    m_message->setObjectName(u"quickLookMessage"_s);
    m_message->setAlignment(Qt::AlignCenter);
    m_message->setMargin(24);
    for (QWidget *page : std::initializer_list<QWidget *>{m_message, m_text, m_picture})
        m_pages->addWidget(page);
    m_footer->setWordWrap(false);
    m_footer->setContentsMargins(14, 6, 14, 6);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_pages, 1);
    column->addWidget(m_footer);
    resize(760, 540);

    m_patience.setSingleShot(true);
    m_patience.setInterval(150ms);
    connect(&m_patience, &QTimer::timeout, this,
            [this] { say(tr("Reading “%1”…").arg(Format::display(m_item->name))); });
    connect(&pane, &PaneModel::selectionChanged, this, &QuickLook::showSelected);
    showSelected();
}

void QuickLook::showSelected()
{
    const QList<FileItem> selected = m_pane.selectedItems();
    if (selected.size() != 1 || m_item == selected.front())
        return;
    m_item = selected.front();
    setWindowTitle(Format::display(m_item->name));
    m_footer->setText(Format::display(m_item->path));
    m_patience.start();
    const qint64 limit = m_pane.isLocal() ? QuickLookContents::maxBytesLocal : QuickLookContents::maxBytesRemote;
    m_reading =
        runJob([service = m_pane.service(), item = *m_item,
                limit](const std::stop_token &stop) { return QuickLookContents::load(*service, item, limit, stop); },
               [this](const QuickLookContent &content) { showContent(content); },
               [this](const Error &error) {
                   showContent({QuickLookContent::Kind::message, error.message(), {}, {}});
               });
}

void QuickLook::showContent(const QuickLookContent &content)
{
    m_patience.stop();
    m_image = content.image;
    switch (content.kind) {
    case QuickLookContent::Kind::message:
        say(content.text);
        break;
    case QuickLookContent::Kind::text:
    case QuickLookContent::Kind::hex:
        m_text->setPlainText(content.text);
        m_pages->setCurrentWidget(m_text);
        m_text->setFocus();
        break;
    case QuickLookContent::Kind::image:
        m_pages->setCurrentWidget(m_picture);
        fitPicture();
        break;
    }
    QStringList facts{Format::display(m_item->path)};
    if (!m_item->isDirectory)
        facts << Format::byteCount(m_item->size);
    if (!content.remark.isEmpty())
        facts << content.remark;
    m_footer->setText(facts.join(u" · "_s));
}

void QuickLook::say(const QString &sentence)
{
    m_message->setText(sentence);
    m_pages->setCurrentWidget(m_message);
    setFocus();
}

void QuickLook::fitPicture()
{
    if (m_image.isNull())
        return;
    const qreal scale = devicePixelRatioF();
    const QSize room = (m_pages->size() - QSize(24, 24)) * scale;
    QPixmap pixmap = QPixmap::fromImage(m_image);
    if (pixmap.width() > room.width() || pixmap.height() > room.height())
        pixmap = pixmap.scaled(room, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    pixmap.setDevicePixelRatio(scale);
    m_picture->setPixmap(pixmap);
}

bool QuickLook::handleKey(int key)
{
    switch (key) {
    case Qt::Key_Space:
    case Qt::Key_Escape:
    case Qt::Key_F3:
        close();
        return true;
    case Qt::Key_Up:
        emit stepRequested(-1);
        return true;
    case Qt::Key_Down:
        emit stepRequested(1);
        return true;
    default:
        return false;
    }
}

void QuickLook::keyPressEvent(QKeyEvent *event)
{
    if (!handleKey(event->key()))
        QDialog::keyPressEvent(event);
}

bool QuickLook::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress && handleKey(static_cast<QKeyEvent *>(event)->key()))
        return true;
    return QDialog::eventFilter(watched, event);
}

void QuickLook::resizeEvent(QResizeEvent *event)
{
    QDialog::resizeEvent(event);
    fitPicture();
}

} // namespace moorix
