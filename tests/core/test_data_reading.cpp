// Reading data files back for exports: the text of old and new stations, rows split by answers
// that hold a line break, the runs of question_order.csv, and which item a column belongs to.
#include "analysis/codebook.h"
#include "analysis/data_text.h"
#include "analysis/order_blocks.h"
#include "definition_fixtures.h"

#include <QtTest>

using namespace corvane;
using namespace corvane::test;

class TestDataReading : public QObject {
    Q_OBJECT
private slots:
    void decode_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("legacy");
        QTest::newRow("ascii") << QByteArray("a,b") << "a,b" << false;
        QTest::newRow("utf-8") << QByteArray("caf\xc3\xa9") << QString::fromUtf8("caf\xc3\xa9")
                               << false;
        QTest::newRow("latin letter")
            << QByteArray("caf\xe9") << QString::fromUtf8("caf\xc3\xa9") << true;
        QTest::newRow("euro and quotes")
            << QByteArray("\x80 \x93x\x94")
            << QString::fromUtf8("\xe2\x82\xac \xe2\x80\x9cx\xe2\x80\x9d") << true;
    }

    void decode() {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, text);
        QFETCH(bool, legacy);
        bool wasLegacy = !legacy;
        QCOMPARE(DecodeDataText(bytes, &wasLegacy), text);
        QCOMPARE(wasLegacy, legacy);
    }

    void rowsWithLineBreaksAreJoined() {
        QTemporaryDir dir;
        const QString path = dir.filePath("d.csv");
        WriteBytes(path, "Subject,Cond,que1,text,textt\r\n\r\ns1,1,q,two\r\nlines,500\r\n"
                         "s2,1,q,one,99\r\ns3,1,q,too,many,fields");
        DataTable table;
        QVERIFY(ReadDataTable(path, table, nullptr));
        QCOMPARE(table.header.size(), 5);
        QCOMPARE(int(table.rows.size()), 2);
        QCOMPARE(table.rows[0].at(3), QString("two\nlines"));
        QCOMPARE(table.rows[0].at(4), QString("500"));
        QCOMPARE(table.rows[1].at(0), QString("s2"));
        QCOMPARE(table.joinedLines, 1);
        QCOMPARE(table.rowsTooLong, 1);
    }

    void orderBlocks() {
        QTemporaryDir dir;
        const QString path = dir.filePath("question_order.csv");
        WriteBytes(path, "s1,1,10:00:00,a.que,pic.jpg,b.que\r\n"
                         "s1,1,10:00:00,a.que,x,y\r\n"
                         "s1,1,10:00:05,b.que\r\n" // a questionnaire of which nothing showed
                         "s1,1,11:00:00,b.que\r\n" // the next run: one file
                         "s1,1,11:00:00,b.que,z\r\n");
        int lines = 0;
        std::vector<OrderBlock> blocks = ReadOrderBlocks(path, &lines);
        QCOMPARE(lines, 5);
        QCOMPARE(int(blocks.size()), 2);
        QCOMPARE(blocks[0].shown.value("a.que"), QStringList({"x", "y"}));
        QVERIFY(blocks[0].shown.contains("b.que"));
        QCOMPARE(blocks[1].shown.value("b.que"), QStringList({"z"}));
        QCOMPARE(TakeOrderBlock(blocks, "s1", "1", {"A.que"}), &blocks[0]);
        QCOMPARE(TakeOrderBlock(blocks, "s1", "1", {"A.que"}), nullptr);
        QCOMPARE(TakeOrderBlock(blocks, "s1", "1", {"b.que"}), &blocks[1]);
    }

    void columnsFindTheirItems_data() {
        QTest::addColumn<QString>("column");
        QTest::addColumn<QString>("item");
        QTest::addColumn<int>("index");
        QTest::newRow("own name") << "mood"
                                  << "mood" << 0;
        QTest::newRow("other case") << "MOOD"
                                    << "mood" << 0;
        QTest::newRow("fanned out") << "list_03"
                                    << "list" << 3;
        QTest::newRow("tenth on") << "list_12"
                                  << "list" << 12;
        QTest::newRow("voice key") << "voice_k"
                                   << "voice" << 0;
        QTest::newRow("unknown") << "other"
                                 << "" << 0;
        QTest::newRow("name with underscore") << "my_var"
                                              << "my_var" << 0;
    }

    void columnsFindTheirItems() {
        QFETCH(QString, column);
        QFETCH(QString, item);
        QFETCH(int, index);
        std::vector<ItemDefinition> items(4);
        items[0].variable = "mood";
        items[1].variable = "list";
        items[2].variable = "voice";
        items[3].variable = "my_var";
        int found = -1;
        const ItemDefinition* definition = ItemOfColumn(items, column, &found);
        QCOMPARE(definition ? definition->variable : QString(), item);
        QCOMPARE(found, index);
    }
};

QTEST_GUILESS_MAIN(TestDataReading)
#include "test_data_reading.moc"
