#include "DVMethodTable.h"
#include "DVRows.h"

#include <Dorvane/DVRuntime.h>

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

QByteArray call(DVImp imp)
{
    return reinterpret_cast<Greeting>(imp)();
}

QByteArray call(const char *className, DVMethodTable::Kind kind = DVMethodTable::Kind::Instance)
{
    return call(DVMethodTable::implementation(className, kind, "greeting"));
}

} // namespace

class Receiver : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString text READ text CONSTANT)

public:
    QString text() const { return QStringLiteral("of the property"); }

    Q_INVOKABLE QString title() const { return QStringLiteral("of the method"); }
    Q_INVOKABLE QVariant anything() const { return 4.5; }
    Q_INVOKABLE QObject *itself() { return this; }
    Q_INVOKABLE int withDefault(int value = 7) const { return value; }
    Q_INVOKABLE int withArgument(int value) const { return value; }

    int reloads = 0;

Q_SIGNALS:
    void changed();

public Q_SLOTS:
    void reloadData() { ++reloads; }
};

class tst_Runtime : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".")));
        // A pair of classes of its own for each test: declarations stay for the life of the process.
        DVMethodTable::declareClass("Base");
        DVMethodTable::declareClass("Derived", "Base");
        for (const auto kind : {DVMethodTable::Kind::Instance, DVMethodTable::Kind::Class})
            DVMethodTable::declareMethod("Base", kind, "greeting", asImp(originalGreeting));
    }

    void replacementsKeepTheOldOneCallable()
    {
        DVMethodTable::declareClass("Twice");
        for (const auto greeting : {originalGreeting, secondReplacement}) // the first of them is kept
            DVMethodTable::declareMethod("Twice", DVMethodTable::Kind::Instance, "greeting", asImp(greeting));
        QCOMPARE(call("Twice"), "original");
        QVERIFY(!dv_swizzleClassMethod("Twice", "greeting", asImp(firstReplacement), nullptr));

        DVImp old = nullptr;
        QVERIFY(dv_class_swizzleMethodAndStore("Twice", "greeting", asImp(firstReplacement), &old));
        QCOMPARE(call("Twice"), "first");
        QCOMPARE(call(old), "original");
        QVERIFY(dv_swizzleMethod("Twice", "greeting", asImp(secondReplacement), &old));
        QCOMPARE(call("Twice"), "second");
        QCOMPARE(call(old), "first");
        QVERIFY(dv_swizzleMethod("Twice", "greeting", asImp(originalGreeting), nullptr));
        QCOMPARE(call("Twice"), "original");
    }

    void inheritedMethodIsGained()
    {
        DVImp old = nullptr;
        QVERIFY(dv_swizzleMethod("Derived", "greeting", asImp(firstReplacement), &old));
        QCOMPARE(call(old), "original");
        QCOMPARE(call("Derived"), "first");
        QCOMPARE(call("Base"), "original");
    }

    void classMethodsAreAnotherTable()
    {
        DVImp old = nullptr;
        QVERIFY(dv_swizzleClassMethod("Base", "greeting", asImp(secondReplacement), &old));
        QCOMPARE(call(old), "original");
        QCOMPARE(call("Base", DVMethodTable::Kind::Class), "second");
        QCOMPARE(call("Base"), "original");
    }

    void missingMethods_data()
    {
        const DVRows<QByteArray, QByteArray, bool> row("className", "selector", "hasImplementation");
        row("a selector that the class does not have", "Base", "farewell", true);
        row("a class that nobody declared", "Nobody", "greeting", true);
        row("a null class", {}, "greeting", true);
        row("a null selector", "Base", {}, true);
        row("a null implementation", "Base", "greeting", false);
    }
    void missingMethods()
    {
        QFETCH(QByteArray, className);
        QFETCH(QByteArray, selector);
        QFETCH(bool, hasImplementation);
        const auto orNull = [](const QByteArray &text) { return text.isNull() ? nullptr : text.constData(); };
        DVImp store = asImp(secondReplacement);
        QVERIFY(!dv_swizzleMethod(orNull(className), orNull(selector),
                                  hasImplementation ? asImp(firstReplacement) : nullptr, &store));
        QCOMPARE(call(store), "second");
        QCOMPARE(call("Base"), "original");
    }

    void selectors_data()
    {
        const DVRows<const char *, bool, QVariant> row("selector", "responds", "result");
        row("a slot", "reloadData", true, {});
        row("an invokable method", "title", true, u"of the method"_qs);
        row("a method whose argument has a default", "withDefault", true, 7);
        row("a method that returns a variant", "anything", true, 4.5);
        row("a method that needs an argument", "withArgument", false, {});
        row("a property is no method", "text", false, u"of the property"_qs);
        row("a property set at run time", "tag", false, 11);
        row("a signal is not sent in the receiver's name", "changed", false, {});
        row("an unknown name", "setNeedsLayout", false, {});
        row("a name with its parentheses", "reloadData()", false, {});
        row("a name in another case", "reloaddata", false, {});
        row("an empty name", "", false, {});
    }
    void selectors()
    {
        QFETCH(QString, selector);
        Receiver receiver;
        receiver.setProperty("tag", 11);
        connect(&receiver, &Receiver::changed, this, [] { QFAIL("the signal was sent"); });
        QTEST(dv_performSelector(&receiver, selector), "responds");
        QCOMPARE(receiver.reloads, selector == u"reloadData" ? 1 : 0);
        QTEST(dv_getObjectWithSelector(&receiver, selector), "result");
        QCOMPARE(dv_getObjectWithSelector(&receiver, u"itself"_qs).value<QObject *>(), &receiver);
    }

    void nullReceiver()
    {
        QVERIFY(!dv_performSelector(nullptr, u"reloadData"_qs));
        QVERIFY(!dv_getObjectWithSelector(nullptr, u"text"_qs).isValid());
    }
};

QTEST_GUILESS_MAIN(tst_Runtime)
#include "tst_runtime.moc"
