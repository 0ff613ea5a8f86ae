// The voice key's arithmetic and files: wave header byte for byte (against sox's), reading waves,
// sample levels, the stream-to-run-clock map, and samples fed at the clock's pace.
#include "definition_fixtures.h"
#include "devices/fed_sample_source.h"
#include "devices/voice_onset.h"
#include "output/wave_file.h"
#include "state/run_clock.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

using namespace corvane;

class TestVoiceKey : public QObject {
    Q_OBJECT
private slots:
    void headerOfThreeSamples() {
        // The RIFF length counts the pad byte that follows an odd number of samples.
        const QByteArray expected = QByteArray::fromHex("52494646280000005741564566"
                                                        "6d74201000000001000100"
                                                        "44ac000044ac0000010008"
                                                        "006461746103000000");
        QCOMPARE(WaveHeader(WaveFormat{}, 3).toHex(), expected.toHex());
    }

    void writtenAsSoxWritesIt() {
        const QString sox = QStandardPaths::findExecutable("sox");
        if (sox.isEmpty())
            QSKIP("sox is not installed (Debian package sox), so there is no file of its own to "
                  "compare with");
        QTemporaryDir dir;
        const QString theirs = dir.filePath("sox.wav");
        QCOMPARE(QProcess::execute(sox, {"-n", "-r", "44100", "-c", "1", "-b", "8", "-e",
                                         "unsigned", theirs, "synth", "0.25", "sine", "440"}),
                 0);
        QString why;
        const auto sound = ReadWaveFile(theirs, &why);
        QVERIFY2(sound, qPrintable(why));
        QCOMPARE(sound->samples.size(), 11025);
        const QString ours = dir.filePath("ours.wav");
        QVERIFY(!WriteWaveFile(ours, sound->samples));
        const QByteArray theirBytes = test::ReadAll(theirs), ourBytes = test::ReadAll(ours);
        QCOMPARE(ourBytes.left(44).toHex(), theirBytes.left(44).toHex());
        QVERIFY(ourBytes == theirBytes); // with the pad byte after 11025 samples
    }

    void readPassesOverOtherChunks() {
        QTemporaryDir dir;
        QByteArray bytes = WaveHeader(WaveFormat{}, 2);
        // A "LIST" chunk of odd length (padded) between the format and the data.
        bytes.insert(36, QByteArray("LIST\x03\x00\x00\x00"
                                    "abc\x00",
                                    12));
        bytes.append("\x80\xff", 2);
        test::WriteBytes(dir.filePath("list.wav"), bytes);
        QString why;
        const auto sound = ReadWaveFile(dir.filePath("list.wav"), &why);
        QVERIFY2(sound, qPrintable(why));
        QCOMPARE(sound->samples, QByteArray("\x80\xff", 2));
        QCOMPARE(sound->format.rate, 44100u);
    }

    void notAWaveFile() {
        QTemporaryDir dir;
        test::WriteBytes(dir.filePath("text.wav"), "hello, this is no sound at all");
        QString why;
        QVERIFY(!ReadWaveFile(dir.filePath("text.wav"), &why));
        QCOMPARE(why, "not a RIFF wave file");
        QVERIFY(!FedSampleSource::ReadSamples(dir.filePath("missing.wav"), &why));
        QVERIFY(!why.isEmpty());
    }

    void otherFormatsAreRefusedWithTheFix() {
        QTemporaryDir dir;
        WaveFormat stereo;
        stereo.channels = 2;
        QVERIFY(!WriteWaveFile(dir.filePath("s.wav"), QByteArray(8, char(128)), stereo));
        QString why;
        QVERIFY(!FedSampleSource::ReadSamples(dir.filePath("s.wav"), &why));
        QVERIFY2(why.contains("2 channel(s)") && why.contains("sox"), qPrintable(why));
        const auto reason = WriteWaveFile(dir.filePath("no/such/folder/a.wav"), "x");
        QVERIFY(reason && !reason->isEmpty()); // an unwritable path gives the reason
    }

    void levels_data() {
        QTest::addColumn<int>("sample");
        QTest::addColumn<int>("level");
        QTest::newRow("silence") << 128 << 0;
        QTest::newRow("one up") << 129 << 1;
        QTest::newRow("one down") << 127 << 1;
        QTest::newRow("clipped low") << 0 << 128;
        QTest::newRow("clipped high") << 255 << 127;
    }
    void levels() {
        QFETCH(int, sample);
        QFETCH(int, level);
        QCOMPARE(SampleLevel(quint8(sample)), level);
    }

    void firstSampleAtLevel_data() {
        QTest::addColumn<QByteArray>("samples");
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("threshold");
        QTest::addColumn<int>("found");
        const QByteArray quiet("\x80\x81\x7f\x80\x82\x80", 6);
        QTest::newRow("below the level") << quiet << 0 << 3 << -1;
        QTest::newRow("at the level trips") << quiet << 0 << 2 << 4;
        QTest::newRow("one sample above silence") << quiet << 0 << 1 << 1;
        QTest::newRow("level 0 trips at once") << quiet << 0 << 0 << 0;
        QTest::newRow("level 0 from a later start") << quiet << 3 << 0 << 3;
        QTest::newRow("samples before the start are not heard") << quiet << 2 << 1 << 2;
        QTest::newRow("start past the end") << quiet << 9 << 0 << -1;
        QTest::newRow("clipped low reaches 128") << QByteArray("\x80\x00", 2) << 0 << 128 << 1;
        QTest::newRow("clipped high stops at 127") << QByteArray("\x80\xff", 2) << 0 << 128 << -1;
    }
    void firstSampleAtLevel() {
        QFETCH(QByteArray, samples);
        QFETCH(int, from);
        QFETCH(int, threshold);
        QFETCH(int, found);
        QCOMPARE(FirstSampleAtLevel(samples, from, threshold), qint64(found));
    }

    // Blocks of 441 samples (10 ms) each arrive late by some delay; the least delay is what
    // the map takes as the device's own.
    void streamClockTakesTheEarliestArrival_data() {
        QTest::addColumn<QList<int>>("delaysUs");
        QTest::addColumn<int>("latencyUs");
        QTest::newRow("on time") << QList<int>{0, 0, 0} << 0;
        QTest::newRow("late first block") << QList<int>{9000, 0, 3000} << 0;
        QTest::newRow("all late, the least wins") << QList<int>{5000, 2500, 7000, 2500} << 0;
        QTest::newRow("reported latency") << QList<int>{0, 400, 0} << 1500;
    }
    void streamClockTakesTheEarliestArrival() {
        QFETCH(QList<int>, delaysUs);
        QFETCH(int, latencyUs);
        const qint64 startUs = 5'000'000; // when sample 0 was heard, less the latency
        StreamClock clock(latencyUs);
        QVERIFY(!clock.Known());
        int least = delaysUs.front();
        for (int b = 0; b < delaysUs.size(); ++b) {
            const qint64 samples = 441 * (b + 1);
            clock.Arrived(samples, startUs + latencyUs + 10'000 * (b + 1) + delaysUs[b]);
            least = qMin(least, delaysUs[b]);
        }
        QVERIFY(clock.Known());
        QCOMPARE(clock.SampleTimeUs(0), double(startUs + least));
        // 44100 samples a second: sample 4410 is 100 ms on.
        QCOMPARE(clock.SampleTimeUs(4410), double(startUs + least + 100'000));
        QCOMPARE(clock.FirstSampleFrom(double(startUs + least + 100'000)), qint64(4410));
        QCOMPARE(clock.FirstSampleFrom(double(startUs + least + 100'001)), qint64(4411));
        QCOMPARE(clock.FirstSampleFrom(double(startUs - 1'000'000)), qint64(0));
    }

    // On a virtual clock the fed samples come exactly on time, then silence.
    void fedSamplesComeAtTheClocksPace() {
        VirtualRunClock clock;
        QByteArray samples(1000, char(130));
        FedSampleSource source(clock, samples, 5);
        QByteArray heard;
        QList<qint64> arrivals, counts;
        source.Delivered = [&](const QByteArray& block, qint64 arrivalUs) {
            heard += block;
            arrivals << arrivalUs;
            counts << heard.size();
        };
        QVERIFY(!source.Start());
        const qint64 start = source.StartUs();
        QCOMPARE(start, clock.NowMicroseconds());
        clock.Advance(50);
        QCOMPARE(arrivals.size(), 10);
        QCOMPARE(heard.size(), 2205); // 50 ms at 44100 a second
        QCOMPARE(heard.left(1000), samples);
        QCOMPARE(heard.mid(1000), QByteArray(1205, char(128)));
        for (int b = 0; b < arrivals.size(); ++b) {
            QCOMPARE(arrivals[b], start + 5000 * (b + 1));
            QCOMPARE(counts[b], qint64(5 * (b + 1)) * 44100 / 1000);
        }
        source.Stop();
        clock.Advance(50);
        QCOMPARE(arrivals.size(), 10);
    }

    void fedInputThatFails() {
        VirtualRunClock clock;
        FedSampleSource source(clock, QByteArray(10, char(128)), 5);
        QString reason;
        int blocks = 0;
        source.Delivered = [&](const QByteArray&, qint64) { ++blocks; };
        source.Failed = [&](const QString& why) { reason = why; };
        QVERIFY(!source.Start());
        clock.Advance(10);
        source.FailAtNextBlock("pulled out");
        clock.Advance(20);
        QCOMPARE(blocks, 2);
        QCOMPARE(reason, "pulled out");
    }
};

QTEST_GUILESS_MAIN(TestVoiceKey)
#include "test_voice_key.moc"
