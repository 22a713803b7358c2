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

/// What the dialog shows: status, bar, words below it.
struct Shown {
    explicit Shown(const ProgressForm &form)
        : status(form.findChild<QLabel *>(u"lbStatus"_s)->text())
        , bar(form.findChild<QProgressBar *>(u"progressBar"_s)->value())
        , words(form.findChild<QLabel *>(u"lbProgress"_s)->text())
    {
    }
    QString status;
    int bar;
    QString words;
};

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

QPushButton *cancelButton(const ProgressForm &form)
{
    return form.findChild<QPushButton *>(u"btnCancel"_s);
}

} // namespace

class TestProgressForm : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reports_data();
    void reports();
    void showsTheLastOfABurst();
    void jobsEndTheDialog_data();
    void jobsEndTheDialog();
    void personCancels_data();
    void personCancels();
    void whatCannotBeCancelledStays_data();
    void whatCannotBeCancelledStays();
    void tipsWaitUntilRead();
};

void TestProgressForm::reports_data()
{
    QTest::addColumn<QString>("status");
    QTest::addColumn<int>("progress");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("statusShown");
    QTest::addColumn<int>("barShown");
    QTest::addColumn<QString>("wordsShown");
    QTest::newRow("all new") << u"Saving"_s << 30 << u"3 of 10"_s << u"Saving"_s << 30 << u"3 of 10"_s;
    QTest::newRow("nothing keeps all") << u""_s << -1 << u""_s << u"Title"_s << 7 << u"Progress:7%"_s;
    QTest::newRow("bar alone") << u""_s << 99 << u""_s << u"Title"_s << 99 << u"Progress:99%"_s;
    QTest::newRow("words are no markup") << u"<b>x</b>"_s << -1 << u"<i>"_s << u"<b>x</b>"_s << 7 << u"<i>"_s;
}

void TestProgressForm::reports()
{
    QFETCH(QString, status);
    QFETCH(int, progress);
    QFETCH(QString, text);
    ProgressForm form(u"Title"_s);
    form.updateProgress({}, 7, {});
    form.updateProgress(status, progress, text);
    QFETCH(QString, wordsShown);
    QTRY_COMPARE(Shown(form).words, wordsShown);
    QTEST(Shown(form).status, "statusShown");
    QTEST(Shown(form).bar, "barShown");
    QCOMPARE(form.findChild<QLabel *>(u"lbStatus"_s)->textFormat(), Qt::PlainText);
}

void TestProgressForm::showsTheLastOfABurst()
{
    constexpr int count = 200'000;
    ProgressForm form({});
    QElapsedTimer timer;
    timer.start();
    const int result = execWith(form, [&] {
        for (int i = 1; i <= count; ++i)
            form.updateProgress(i == 5 ? u"Only once"_s : QString(), percentOf(i, count), {});
        return QString();
    });
    QCOMPARE(result, 1);
    QCOMPARE(Shown(form).status, u"Only once"_s);
    QCOMPARE(Shown(form).bar, 100);
    QVERIFY2(timer.elapsed() < 10'000, qPrintable(QString::number(timer.elapsed())));
}

void TestProgressForm::jobsEndTheDialog_data()
{
    QTest::addColumn<QString>("tips");
    QTest::addColumn<QString>("error");
    QTest::addColumn<int>("result");
    QTest::addColumn<QString>("box"); // a part of its text
    QTest::newRow("silent success") << u""_s << u""_s << 1 << u""_s;
    QTest::newRow("success with a word") << u"Done."_s << u""_s << 1 << u"Done."_s;
    QTest::newRow("failure") << u""_s << u"disk <full>"_s << 0 << u"disk &lt;full>"_s;
}

void TestProgressForm::jobsEndTheDialog()
{
    QFETCH(QString, tips);
    QFETCH(QString, error);
    QFETCH(QString, box);
    const BoxReader reader;
    ProgressForm form(u"Job"_s);
    const QSignalSpy cancels(&form, &ProgressForm::userCacel);
    const int result = execWith(form, [&] {
        if (!error.isEmpty())
            throw std::runtime_error(error.toStdString());
        return tips;
    });
    QTEST(result, "result");
    QCOMPARE(form.cancelled, result == 0);
    QCOMPARE(cancels.count(), 0);
    QCOMPARE(reader.texts.size(), box.isEmpty() ? 0 : 1);
    QVERIFY(reader.texts.join(QString()).contains(box));
}

void TestProgressForm::personCancels_data()
{
    using Act = std::function<void(ProgressForm &)>;
    QTest::addColumn<Act>("act");
    QTest::newRow("press, not release")
        << Act([](ProgressForm &form) { QTest::mousePress(cancelButton(form), Qt::LeftButton); });
    QTest::newRow("Escape") << Act([](ProgressForm &form) { QTest::keyClick(&form, Qt::Key_Escape); });
    QTest::newRow("window closed") << Act([](ProgressForm &form) { form.close(); });
}

void TestProgressForm::personCancels()
{
    QFETCH(std::function<void(ProgressForm &)>, act);
    const BoxReader reader;
    ProgressForm form(u"Job"_s);
    const QSignalSpy cancels(&form, &ProgressForm::userCacel);
    QTimer::singleShot(50, &form, [&] { act(form); });
    const int result = execWith(form, [&]() -> QString {
        while (!form.cancelled)
            QThread::usleep(100);
        throw std::runtime_error("nobody wants to know");
    });
    QCOMPARE(result, 0);
    QCOMPARE(cancels.count(), 1);
    QCOMPARE(reader.texts, QStringList());
}

void TestProgressForm::whatCannotBeCancelledStays_data()
{
    personCancels_data();
}

void TestProgressForm::whatCannotBeCancelledStays()
{
    QFETCH(std::function<void(ProgressForm &)>, act);
    ProgressForm form(u"Job"_s);
    form.setCancelEnabled(false);
    form.show();
    act(form);
    QVERIFY(form.isVisible());
    QVERIFY(!form.cancelled);
    form.succeed({});
    QVERIFY(!form.isVisible());
}

void TestProgressForm::tipsWaitUntilRead()
{
    const BoxReader reader;
    ProgressForm form(u"Job"_s);
    const int result = execWith(form, [&] {
        form.tipsWait(u"Look."_s);
        while (form.tipsWaiting)
            QThread::usleep(100);
        return QString();
    });
    QCOMPARE(result, 1);
    QCOMPARE(reader.texts, QStringList{u"Look."_s});
}

QTEST_MAIN(TestProgressForm)
#include "testprogressform.moc"
