#include "boxreader.h"
#include "progressform.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QProgressBar>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

using namespace Qt::StringLiterals;

namespace
{

/// Runs `work` on a thread of its own under `form`, as every job is run.
template <typename Work>
int execWith(ProgressForm &form, Work work)
{
    const std::unique_ptr<QThread> thread(QThread::create([&] { runJob(form, work); }));
    thread->start();
    const int result = form.exec();
    thread->wait();
    QCoreApplication::processEvents(); // whatever the job said too late
    return result;
}

} // namespace

class TestProgressForm : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void showsTheLastOfABurst();
    void failureIsTold();
    void tipsWaitUntilRead();
    void personCancels();
};

void TestProgressForm::showsTheLastOfABurst()
{
    constexpr int count = 200'000;
    ProgressForm form({});
    QElapsedTimer timer;
    timer.start();
    const int result = execWith(form, [&] {
        for (int i = 1; i <= count; ++i)
            form.updateProgress(i == 5 ? u"Only once"_s : QString(), percentOf(i, count), {});
        form.updateProgress({}, -1, u"<i>"_s);
        return QString();
    });
    QCOMPARE(result, 1);
    QCOMPARE(form.findChild<QLabel *>(u"lbStatus"_s)->text(), u"Only once"_s);
    QCOMPARE(form.findChild<QProgressBar *>(u"progressBar"_s)->value(), 100);
    QCOMPARE(form.findChild<QLabel *>(u"lbProgress"_s)->text(), u"<i>"_s);
    QVERIFY(timer.elapsed() < 10'000);
}

void TestProgressForm::failureIsTold()
{
    const BoxReader reader;
    ProgressForm form(u"Job"_s);
    const auto fail = []() -> QString { throw std::runtime_error("disk <full>"); };
    QCOMPARE(execWith(form, fail), 0);
    QVERIFY(form.cancelled);
    QVERIFY(reader.texts.value(0).contains(u"disk &lt;full>"_s));
}

void TestProgressForm::tipsWaitUntilRead()
{
    const BoxReader reader;
    ProgressForm form(u"Job"_s);
    const int result = execWith(form, [&] {
        form.tipsWait(u"Look."_s);
        while (form.tipsWaiting)
            QThread::usleep(100);
        return u"Done."_s;
    });
    QCOMPARE(result, 1);
    QVERIFY(!form.cancelled);
    QCOMPARE(reader.texts, QStringList({u"Look."_s, u"Done."_s}));
}

void TestProgressForm::personCancels()
{
    const BoxReader reader;
    ProgressForm form(u"Job"_s);
    const QSignalSpy cancels(&form, &ProgressForm::userCacel);
    QTimer::singleShot(50, &form, [&] {
        form.setCancelEnabled(false);
        QTest::keyClick(&form, Qt::Key_Escape);
        form.close();
        QVERIFY(form.isVisible() && !form.cancelled); // what can't be cancelled stays
        form.setCancelEnabled(true);
        QTest::mousePress(form.findChild<QPushButton *>(), Qt::LeftButton); // needs no release
    });
    const int result = execWith(form, [&]() -> QString {
        while (!form.cancelled)
            QThread::usleep(100);
        throw std::runtime_error("nobody wants to know");
    });
    QCOMPARE(result, 0);
    QCOMPARE(cancels.count(), 1);
    QCOMPARE(reader.texts, QStringList());
}

QTEST_MAIN(TestProgressForm)
#include "testprogressform.moc"
