#include "DVMethodTable.h"

#include <Dorvane/DVRuntime.h>

#include <QTest>

namespace {

using Greeting = const char *(*)();

const char *originalGreeting()
{
    return "original";
}
const char *firstReplacement()
{
    return "first";
}
const char *secondReplacement()
{
    return "second";
}

DVImp asImp(Greeting greeting)
{
    return reinterpret_cast<DVImp>(greeting);
}

QByteArray call(const char *className, DVMethodTable::Kind kind = DVMethodTable::Kind::Instance)
{
    return reinterpret_cast<Greeting>(DVMethodTable::implementation(className, kind, "greeting"))();
}

QByteArray call(DVImp imp)
{
    return reinterpret_cast<Greeting>(imp)();
}

} // namespace

struct Opaque;

class Receiver : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString text READ text CONSTANT)
    Q_PROPERTY(int number READ number WRITE setNumber)

public:
    QString text() const { return QStringLiteral("of the property"); }
    int number() const { return m_number; }
    void setNumber(int number) { m_number = number; }

    Q_INVOKABLE QString title() const { return QStringLiteral("of the method"); }
    Q_INVOKABLE QVariant anything() const { return 4.5; }
    Q_INVOKABLE QObject *itself() { return this; }
    Q_INVOKABLE int withDefault(int value = 7) const { return value; }
    Q_INVOKABLE int withArgument(int value) const { return value; }
    Q_INVOKABLE Opaque *opaque() const { return nullptr; }

    int reloads = 0;

Q_SIGNALS:
    void changed();

public Q_SLOTS:
    void reloadData() { ++reloads; }

private:
    int m_number = 3;
};

class tst_Runtime : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void replacementsKeepTheOldOneCallable();
    void inheritedMethodIsGained();
    void classMethodsAreAnotherTable();
    void missingMethods_data();
    void missingMethods();
    void performSelector_data();
    void performSelector();
    void getObjectWithSelector_data();
    void getObjectWithSelector();
    void nullReceiver();
};

void tst_Runtime::init()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".")));
    // A pair of classes of its own for each test: declarations stay for the life of the process.
    DVMethodTable::declareClass("Base");
    DVMethodTable::declareClass("Derived", "Base");
    for (const auto kind : {DVMethodTable::Kind::Instance, DVMethodTable::Kind::Class})
        DVMethodTable::declareMethod("Base", kind, "greeting", asImp(originalGreeting));
}

void tst_Runtime::replacementsKeepTheOldOneCallable()
{
    DVMethodTable::declareClass("Twice");
    DVMethodTable::declareMethod("Twice", DVMethodTable::Kind::Instance, "greeting", asImp(originalGreeting));

    DVImp old = nullptr;
    QVERIFY(dv_class_swizzleMethodAndStore("Twice", "greeting", asImp(firstReplacement), &old));
    QCOMPARE(call("Twice"), QByteArray("first"));
    QCOMPARE(call(old), QByteArray("original"));
    QVERIFY(dv_swizzleMethod("Twice", "greeting", asImp(secondReplacement), &old));
    QCOMPARE(call("Twice"), QByteArray("second"));
    QCOMPARE(call(old), QByteArray("first"));
    QVERIFY(dv_swizzleMethod("Twice", "greeting", asImp(originalGreeting), nullptr));
    QCOMPARE(call("Twice"), QByteArray("original"));
}

void tst_Runtime::inheritedMethodIsGained()
{
    DVImp old = nullptr;
    QVERIFY(dv_swizzleMethod("Derived", "greeting", asImp(firstReplacement), &old));
    QCOMPARE(call(old), QByteArray("original"));
    QCOMPARE(call("Derived"), QByteArray("first"));
    QCOMPARE(call("Base"), QByteArray("original"));
}

void tst_Runtime::classMethodsAreAnotherTable()
{
    DVImp old = nullptr;
    QVERIFY(dv_swizzleClassMethod("Base", "greeting", asImp(secondReplacement), &old));
    QCOMPARE(call(old), QByteArray("original"));
    QCOMPARE(call("Base", DVMethodTable::Kind::Class), QByteArray("second"));
    QCOMPARE(call("Base"), QByteArray("original"));
}

void tst_Runtime::missingMethods_data()
{
    QTest::addColumn<QByteArray>("className");
    QTest::addColumn<QByteArray>("selector");
    QTest::addColumn<bool>("hasImplementation");

    QTest::newRow("a selector that the class does not have")
        << QByteArray("Base") << QByteArray("farewell") << true;
    QTest::newRow("a class that nobody declared") << QByteArray("Nobody") << QByteArray("greeting") << true;
    QTest::newRow("a null class") << QByteArray() << QByteArray("greeting") << true;
    QTest::newRow("a null selector") << QByteArray("Base") << QByteArray() << true;
    QTest::newRow("a null implementation") << QByteArray("Base") << QByteArray("greeting") << false;
}

void tst_Runtime::missingMethods()
{
    QFETCH(QByteArray, className);
    QFETCH(QByteArray, selector);
    QFETCH(bool, hasImplementation);

    const auto orNull = [](const QByteArray &text) { return text.isNull() ? nullptr : text.constData(); };
    DVImp store = asImp(secondReplacement);
    QVERIFY(!dv_swizzleMethod(orNull(className), orNull(selector),
                              hasImplementation ? asImp(firstReplacement) : nullptr, &store));
    QCOMPARE(call(store), QByteArray("second"));
    QCOMPARE(call("Base"), QByteArray("original"));
}

void tst_Runtime::performSelector_data()
{
    QTest::addColumn<QString>("selector");
    QTest::addColumn<bool>("responds");
    QTest::addColumn<int>("reloads");

    QTest::newRow("a slot") << "reloadData" << true << 1;
    QTest::newRow("an invokable method") << "title" << true << 0;
    QTest::newRow("a method whose argument has a default") << "withDefault" << true << 0;
    QTest::newRow("a method that needs an argument") << "withArgument" << false << 0;
    QTest::newRow("a property is no method") << "text" << false << 0;
    QTest::newRow("a signal is not sent in the receiver's name") << "changed" << false << 0;
    QTest::newRow("an unknown name") << "setNeedsLayout" << false << 0;
    QTest::newRow("a name with its parentheses") << "reloadData()" << false << 0;
    QTest::newRow("a name in another case") << "reloaddata" << false << 0;
    QTest::newRow("an empty name") << "" << false << 0;
}

void tst_Runtime::performSelector()
{
    QFETCH(QString, selector);
    QFETCH(int, reloads);

    Receiver receiver;
    connect(&receiver, &Receiver::changed, this, [] { QFAIL("the signal was sent"); });
    QTEST(dv_performSelector(&receiver, selector), "responds");
    QCOMPARE(receiver.reloads, reloads);
}

void tst_Runtime::getObjectWithSelector_data()
{
    QTest::addColumn<QString>("selector");
    QTest::addColumn<QVariant>("result");

    QTest::newRow("a method") << "title" << QVariant(QStringLiteral("of the method"));
    QTest::newRow("a method with a default argument") << "withDefault" << QVariant(7);
    QTest::newRow("a method that returns a variant") << "anything" << QVariant(4.5);
    QTest::newRow("a property") << "text" << QVariant(QStringLiteral("of the property"));
    QTest::newRow("a property set at run time") << "tag" << QVariant(11);
    QTest::newRow("a method without a result") << "reloadData" << QVariant();
    QTest::newRow("a signal") << "changed" << QVariant();
    QTest::newRow("an unknown name") << "attributedText" << QVariant();
    QTest::newRow("an empty name") << "" << QVariant();
}

void tst_Runtime::getObjectWithSelector()
{
    QFETCH(QString, selector);

    Receiver receiver;
    receiver.setProperty("tag", 11);
    QTEST(dv_getObjectWithSelector(&receiver, selector), "result");
    QCOMPARE(dv_getObjectWithSelector(&receiver, QStringLiteral("itself")).value<QObject *>(), &receiver);
}

void tst_Runtime::nullReceiver()
{
    QVERIFY(!dv_performSelector(nullptr, QStringLiteral("reloadData")));
    QVERIFY(!dv_getObjectWithSelector(nullptr, QStringLiteral("text")).isValid());
}

QTEST_GUILESS_MAIN(tst_Runtime)
#include "tst_runtime.moc"
