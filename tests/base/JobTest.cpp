// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/Job.h"

#include "support/TestMain.h"

#include <QThread>

#include <atomic>
#include <latch>
#include <stdexcept>

using namespace moorix;
using namespace Qt::StringLiterals;

namespace {

void ignoreFailure(const Error &) {}

/// Waits on a pool thread until the stop token is triggered.
void waitForStop(const std::stop_token &stop)
{
    std::latch stopped(1);
    const std::stop_callback callback(stop, [&] { stopped.count_down(); });
    stopped.wait();
}

/// Runs `work` to its end and returns how it was delivered: "done", or domain and message of the failure.
template <class Work>
QString outcomeOf(Work work)
{
    QString outcome;
    const Job job = runJob(
        std::move(work), [&] { outcome = u"done"_s; },
        [&](const Error &error) { outcome = error.domain() + u'|' + error.message(); });
    (void)QTest::qWaitFor([&] { return !outcome.isEmpty(); });
    return outcome;
}

} // namespace

/// Work on other threads, and its questions to the main thread.
class JobTest : public QObject
{
    Q_OBJECT

    using Answer = std::function<void(QString)>;

    /// Asks on a worker; `m_outcome` becomes the answer or "cancelled".
    Job ask(std::function<void(Answer)> question)
    {
        m_outcome.clear();
        return runJob(
            [question = std::move(question)](const std::stop_token &stop) { return askMain<QString>(stop, question); },
            [this](const QString &answer) { m_outcome = answer; },
            [this](const Error &error) {
                m_outcome = dynamic_cast<const Cancelled *>(&error) ? u"cancelled"_s : error.message();
            });
    }

    QString m_outcome;

private slots:
    void workRunsElsewhereAndItsValueArrivesOnTheMainThread()
    {
        const QThread *const mainThread = QThread::currentThread();
        std::unique_ptr<QThread *> worker;
        QThread *receiver = nullptr;
        QThread *destroyer = nullptr;
        std::shared_ptr<int> captured(new int, [&destroyer](const int *value) {
            delete value;
            destroyer = QThread::currentThread();
        });
        const Job job =
            runJob([captured = std::move(captured)](
                       const std::stop_token &) { return std::make_unique<QThread *>(QThread::currentThread()); },
                   [&](std::unique_ptr<QThread *> value) {
                       receiver = QThread::currentThread();
                       worker = std::move(value);
                   },
                   ignoreFailure);
        QTRY_VERIFY(destroyer);
        QVERIFY(*worker != mainThread);
        QCOMPARE(receiver, mainThread);
        QCOMPARE(destroyer, mainThread);
    }

    void theOutcomeOfAReplacedJobIsDropped()
    {
        QStringList delivered;
        auto first = std::make_shared<int>(0);
        const std::weak_ptr<int> firstState = first;
        // The first work ends normally although it was asked to stop, as work that is nearly done may.
        Job job = runJob([first = std::move(first)](const std::stop_token &stop) { waitForStop(stop); },
                         [&] { delivered.append(u"first"_s); }, ignoreFailure);
        job = runJob([](const std::stop_token &) {}, [&] { delivered.append(u"second"_s); }, ignoreFailure);
        QTRY_VERIFY(firstState.expired() && !delivered.isEmpty());
        QCOMPARE(delivered, QStringList{u"second"_s});
    }

    void aJobDroppedBetweenItsEndAndItsDeliveryIsNotDelivered()
    {
        bool isDelivered = false;
        std::latch ended(1);
        auto captured = std::make_shared<int>(0);
        const std::weak_ptr<int> state = captured;
        {
            const Job job = runJob([captured = std::move(captured)](const std::stop_token &) {},
                                   [&] { isDelivered = true; }, ignoreFailure);
            // A later job of the same pool has ended; the outcome of the first can only wait in the event queue.
            Job other = runJob([&ended](const std::stop_token &) { ended.count_down(); }, [] {}, ignoreFailure);
            ended.wait();
        }
        QTRY_VERIFY(state.expired());
        QVERIFY(!isDelivered);
    }

    void aDetachedJobIsDeliveredWithoutAnOwner()
    {
        bool isDelivered = false;
        runJob([](const std::stop_token &) {}, [&] { isDelivered = true; }, ignoreFailure).detach();
        QTRY_VERIFY(isDelivered);
    }

    void everyKindOfExceptionArrivesAsAnError()
    {
        QCOMPARE(outcomeOf([](const std::stop_token &) { throw Error(u"Backup"_s, u"It is gone."_s); }),
                 u"Backup|It is gone."_s);
        QCOMPARE(outcomeOf([](const std::stop_token &) { throw std::runtime_error("broken"); }),
                 u"Moorix|Something failed inside the program: broken"_s);
        QCOMPARE(outcomeOf([](const std::stop_token &) { throw 7; }), u"Moorix|Something failed inside the program."_s);
    }

    void manyWaitingJobsDoNotHoldUpAnother()
    {
        std::vector<Job> waiting;
        const auto nothing = [] {};
        for (int index = 0; index < 40; ++index)
            waiting.push_back(runJob(waitForStop, nothing, ignoreFailure));
        QCOMPARE(outcomeOf([](const std::stop_token &) {}), u"done"_s);
    }

    void stoppingAllWorkReachesDetachedJobs()
    {
        std::atomic<bool> hasEnded = false;
        const auto work = [&hasEnded](const std::stop_token &stop) {
            waitForStop(stop);
            hasEnded = true;
        };
        runJob(
            work, [] {}, ignoreFailure)
            .detach();
        QVERIFY(stopAllWork(std::chrono::seconds(20)));
        QVERIFY(hasEnded);
    }

    void anAnswerFromTheMainThreadReturnsToTheWorker()
    {
        QThread *askedOn = nullptr;
        const Job job = ask([&](const Answer &answer) {
            askedOn = QThread::currentThread();
            answer(u"yes"_s);
        });
        QTRY_COMPARE(m_outcome, u"yes"_s);
        QCOMPARE(askedOn, QThread::currentThread());
    }

    void ofTwoLaterAnswersTheFirstCounts()
    {
        Answer kept;
        const Job job = ask([&](const Answer &answer) { kept = answer; });
        QTRY_VERIFY(kept);
        const Answer other = kept;
        kept(u"skip"_s);
        other(u"overwrite"_s);
        QTRY_COMPARE(m_outcome, u"skip"_s);
    }

    void aQuestionNobodyCanAnswerAnyMoreIsCancelled()
    {
        const Job job = ask([](const Answer &) {});
        QTRY_COMPARE(m_outcome, u"cancelled"_s);
    }

    void aStopEndsTheWaitForAnAnswer()
    {
        Answer kept;
        Job job = ask([&](const Answer &answer) { kept = answer; });
        QTRY_VERIFY(kept);
        job.cancel();
        QVERIFY(stopAllWork(std::chrono::seconds(20)));
        kept(u"too late"_s);
        QVERIFY(m_outcome.isEmpty());
    }
};

MOORIX_TEST(JobTest)
#include "JobTest.moc"
