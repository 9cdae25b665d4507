// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/EditedFilesBar.h"

#include "app/EditedFiles.h"
#include "files/Format.h"
#include "platform/AppPaths.h"
#include "ui/BriefName.h"
#include "ui/FlowLayout.h"
#include "ui/Widgets.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include <algorithm>
#include <chrono>

using namespace std::chrono_literals;

namespace moorix {

namespace {

using State = EditedFile::State;

/// An upload that ends at once is not worth a notice.
bool takesLong(const EditedFile &file)
{
    return file.state == State::uploading && std::chrono::steady_clock::now() - file.began >= 500ms;
}

QString headingFor(const EditedFile &file)
{
    const QString name = briefName(file.name);
    const QString server = Format::display(file.serverName);
    switch (file.state) {
    case State::changedThere:
        return EditedFilesBar::tr("“%1” was changed on %2 meanwhile").arg(name, server);
    case State::goneThere:
        return EditedFilesBar::tr("“%1” is no longer on %2").arg(name, server);
    case State::leftOver:
        return EditedFilesBar::tr("“%1” was edited earlier and not uploaded to %2").arg(name, server);
    case State::cancelled:
        return EditedFilesBar::tr("The upload of “%1” to %2 was cancelled").arg(name, server);
    default:
        return EditedFilesBar::tr("“%1” could not be uploaded to %2").arg(name, server);
    }
}

QString explanationFor(const EditedFile &file)
{
    const QString path = Format::display(file.path);
    switch (file.state) {
    case State::changedThere:
        return EditedFilesBar::tr(
                   "Your version was not uploaded: it would replace what somebody else has written to %1.")
            .arg(path);
    case State::goneThere:
        return EditedFilesBar::tr("Your version was not uploaded: %1 was removed or renamed.").arg(path);
    case State::leftOver:
        return EditedFilesBar::tr("The program ended before. Your version of %1 is kept on this computer.").arg(path);
    case State::cancelled:
        return EditedFilesBar::tr("Your version of %1 is kept on this computer. The next save is uploaded again.")
            .arg(path);
    default:
        return EditedFilesBar::tr("Your version is kept on this computer. %1").arg(file.problem);
    }
}

} // namespace

EditedFilesBar::EditedFilesBar(EditedFiles &files, QWidget *parent)
    : QFrame(parent)
    , m_files(files)
    , m_question(new QWidget(this))
    , m_heading(Widgets::label({}, Widgets::TextRole::heading, this))
    , m_text(Widgets::label({}, Widgets::TextRole::body, this))
    , m_discard(Widgets::button(tr("Discard mine"), QStringLiteral("editedDiscard"), this))
    , m_saveCopy(Widgets::button(tr("Save a copy…"), QStringLiteral("editedSaveCopy"), this))
    , m_keepBoth(Widgets::primaryButton(tr("Keep both"), QStringLiteral("editedKeepBoth"), this))
    , m_upload(Widgets::primaryButton({}, QStringLiteral("editedUpload"), this))
    , m_uploadLine(new QWidget(this))
    , m_uploadText(Widgets::label({}, Widgets::TextRole::muted, this))
    , m_progress(new QProgressBar(this))
{
    setObjectName(QStringLiteral("editedFilesBar"));
    m_heading->setObjectName(QStringLiteral("editedHeading"));
    m_text->setObjectName(QStringLiteral("editedText"));
    m_heading->setMinimumWidth(1);
    m_text->setMinimumWidth(1);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_discard->setProperty("role", QStringLiteral("danger"));
    m_discard->setToolTip(tr("Puts your version into the bin; the server's file stays as it is"));
    m_keepBoth->setToolTip(tr("Uploads your version beside the server's, under a name of its own"));
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    m_question->setLayout(makeQuestion());
    m_uploadLine->setLayout(makeUpload());
    column->addWidget(m_question);
    column->addWidget(m_uploadLine);
    connect(m_discard, &QPushButton::clicked, this, [this] { m_files.discard(m_shown); });
    connect(m_saveCopy, &QPushButton::clicked, this, &EditedFilesBar::chooseCopyPath);
    connect(m_keepBoth, &QPushButton::clicked, this, [this] { m_files.send(m_shown, EditedFiles::Guard::nothing); });
    connect(&files, &EditedFiles::filesChanged, this, &EditedFilesBar::follow);
    m_tick.setInterval(200ms);
    connect(&m_tick, &QTimer::timeout, this, &EditedFilesBar::follow);
    follow();
}

QBoxLayout *EditedFilesBar::makeQuestion()
{
    auto *texts = new QVBoxLayout;
    texts->setSpacing(4);
    texts->addWidget(m_heading);
    texts->addWidget(m_text);
    auto *row = new QHBoxLayout;
    row->setContentsMargins(16, 12, 16, 12);
    row->setSpacing(8);
    row->addLayout(texts, 1);
    row->addSpacing(16);
    auto *buttons = new FlowLayout(8, FlowLayout::Edge::right);
    for (QPushButton *button : {m_discard, m_saveCopy, m_upload, m_keepBoth}) {
        button->setFocusPolicy(Qt::TabFocus);
        buttons->addWidget(button);
    }
    row->addLayout(buttons);
    return row;
}

QBoxLayout *EditedFilesBar::makeUpload()
{
    m_uploadLine->setObjectName(QStringLiteral("editedUploadLine"));
    m_uploadText->setObjectName(QStringLiteral("editedUploadText"));
    m_progress->setFixedWidth(140);
    m_progress->setTextVisible(false);
    QPushButton *cancel = Widgets::button(tr("Cancel"), QStringLiteral("editedCancel"), this);
    cancel->setFocusPolicy(Qt::TabFocus);
    connect(cancel, &QPushButton::clicked, this, [this] { m_files.cancel(m_uploading); });
    auto *row = new QHBoxLayout;
    row->setContentsMargins(16, 6, 16, 6);
    row->setSpacing(12);
    row->addWidget(m_uploadText, 1);
    row->addWidget(m_progress);
    row->addWidget(cancel);
    return row;
}

void EditedFilesBar::follow()
{
    const QList<EditedFile> files = m_files.files();
    QList<EditedFile> questions = files;
    questions.removeIf([](const EditedFile &file) { return !file.needsAnswer(); });
    QList<EditedFile> uploads = files;
    uploads.removeIf([](const EditedFile &file) { return !takesLong(file); });
    if (std::ranges::find(files, State::uploading, &EditedFile::state) == files.end())
        m_tick.stop();
    else if (!m_tick.isActive())
        m_tick.start();
    if (questions.isEmpty())
        Widgets::setStyleProperty(*this, "tone", QStringLiteral("quiet"));
    else
        show(questions.first(), questions.size());
    if (!uploads.isEmpty())
        showUpload(uploads.first(), uploads.size());
    m_question->setVisible(!questions.isEmpty());
    m_uploadLine->setVisible(!uploads.isEmpty());
    setVisible(!questions.isEmpty() || !uploads.isEmpty());
}

void EditedFilesBar::showUpload(const EditedFile &file, qsizetype count)
{
    m_uploading = file.id;
    QString text = tr("Uploading “%1” to %2").arg(briefName(file.name), Format::display(file.serverName));
    if (file.bytesTotal > 0)
        text += tr(" · %1 of %2").arg(Format::byteCount(file.bytesDone), Format::byteCount(file.bytesTotal));
    if (count > 1)
        text += tr(" · and %1 more").arg(count - 1);
    m_uploadText->setText(text);
    const bool isKnown = file.bytesTotal > 0;
    m_progress->setRange(0, isKnown ? 1000 : 0);
    if (isKnown)
        m_progress->setValue(int(std::min(file.bytesDone, file.bytesTotal) * 1000.0 / double(file.bytesTotal)));
}

void EditedFilesBar::show(const EditedFile &file, qsizetype count)
{
    m_shown = file.id;
    m_shownName = file.name;
    const QString heading = headingFor(file);
    m_heading->setText(count == 1 ? heading : tr("%1 edited files were not uploaded · %2").arg(count).arg(heading));
    m_text->setText(explanationFor(file));
    const bool isConflict = file.state == State::changedThere || file.state == State::goneThere;
    // The answer that loses nothing of anybody stands out.
    m_keepBoth->setVisible(file.state == State::changedThere);
    Widgets::setStyleProperty(*m_upload, "role",
                              file.state == State::changedThere ? QString() : QStringLiteral("primary"));
    m_upload->setText(isConflict ? tr("Upload anyway") : file.state == State::failed ? tr("Retry") : tr("Upload"));
    m_upload->disconnect(this);
    // What the button says when it is pressed is what happens, whatever has become of the file since.
    connect(m_upload, &QPushButton::clicked, this, [this, id = file.id, isConflict] {
        m_files.send(id, isConflict ? EditedFiles::Guard::anything : EditedFiles::Guard::known);
    });
    Widgets::setStyleProperty(*this, "tone",
                              file.state == State::failed ? QStringLiteral("danger") : QStringLiteral("warning"));
}

void EditedFilesBar::chooseCopyPath()
{
    auto *dialog = new QFileDialog(this, tr("Save a copy"), AppPaths::home());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->selectFile(m_shownName);
    connect(dialog, &QFileDialog::fileSelected, this,
            [this, id = m_shown](const QString &path) { m_files.saveAs(id, path); });
    dialog->open();
}

} // namespace moorix
