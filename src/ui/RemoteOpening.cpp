// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/RemoteOpening.h"

#include "app/AppModel.h"
#include "app/EditedFiles.h"
#include "files/Format.h"
#include "files/RemoteFileService.h"
#include "ui/BriefName.h"
#include "ui/MessageBar.h"
#include "ui/pane/FileMimeData.h"

#include <QBoxLayout>
#include <QDesktopServices>
#include <QUrl>

#include <algorithm>
#include <chrono>

using namespace std::chrono_literals;

namespace moorix {

void openWithDesktop(AppModel &model, const QString &path)
{
    if (!QDesktopServices::openUrl(FileMimeData::url(path))) {
        emit model.messageRaised(
            RemoteOpening::tr("No program is set up to open “%1”.").arg(Format::display(Format::fileName(path))));
    }
}

RemoteOpening::RemoteOpening(AppModel &model, ServerConnection server, std::shared_ptr<RemoteFileService> service,
                             FileItem file, QBoxLayout &column, std::function<void(const QString &)> opener)
    : QObject(column.parentWidget())
    , m_model(model)
    , m_server(std::move(server))
    , m_service(std::move(service))
    , m_file(std::move(file))
    , m_bar(new MessageBar(column.parentWidget()))
    , m_opener(std::move(opener))
{
    m_bar->setObjectName(QStringLiteral("openingBar"));
    column.insertWidget(0, m_bar);
    connect(m_bar, &MessageBar::dismissed, this, &RemoteOpening::end);
    // A download that ends at once is not worth a notice.
    m_tick.setInterval(200ms);
    connect(&m_tick, &QTimer::timeout, this, &RemoteOpening::showProgress);
    if (m_file.size <= largeBytes) {
        fetch();
        return;
    }
    m_bar->ask(tr("“%1” has %2. Download it to open it?").arg(briefName(m_file.name), Format::byteCount(m_file.size)),
               tr("Download and open"), MessageBar::Tone::information, [this] { fetch(); });
}

RemoteOpening::~RemoteOpening() = default;

void RemoteOpening::fetch()
{
    m_received = std::make_shared<std::atomic<qint64>>(0);
    m_hasFailed = false;
    m_tick.start();
    m_job = m_model.editedFiles().fetch(
        m_server, m_service, m_file, m_received,
        [this](const QString &path) {
            emit m_model.messageRaised(tr("“%1” is open; what you save in it is uploaded to %2.")
                                           .arg(Format::display(m_file.name), Format::display(m_server.displayName())));
            if (m_opener)
                m_opener(path);
            else
                openWithDesktop(m_model, path);
            end();
        },
        [this](const Error &error) {
            m_hasFailed = true;
            m_tick.stop();
            m_bar->offer(error.message(), tr("Retry"), MessageBar::Tone::danger, [this] { fetch(); });
        });
}

void RemoteOpening::showProgress()
{
    const qint64 received = *m_received;
    m_bar->offer(tr("Fetching “%1”: %2 of %3")
                     .arg(briefName(m_file.name), Format::byteCount(received), Format::byteCount(m_file.size)),
                 tr("Cancel"), MessageBar::Tone::information, [this] { end(); });
    m_bar->showProgress(m_file.size > 0 ? int(std::min<qint64>(1000, received * 1000 / m_file.size)) : -1);
}

void RemoteOpening::end()
{
    m_tick.stop();
    m_job.cancel();
    m_bar->hide();
    m_bar->deleteLater();
    // Nobody should take it for one that is under way.
    setParent(nullptr);
    deleteLater();
}

} // namespace moorix
