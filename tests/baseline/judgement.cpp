// SPDX-License-Identifier: MIT
#include "judgement.h"

#include <QtCore/QVersionNumber>

namespace {

enum Event { Added, Removed, Moved, ResultChanged, NamesChanged };

struct Rule
{
    const char *kind;
    Event event;
    Verdict verdict;
    const char *consequence; // "%" is replaced by the programs concerned
};

const char undefinedSymbol[] = "older % that use it do not start: undefined symbol";
const char otherResult[] = "older % interpret the result as the old type";
const char layout[] = "older % use the old layout of the object: they have to be compiled again";
const char table[] = "older % have the old virtual table, so a call runs another function: they "
                     "have to be compiled again";
const char byIndex[] = "programs that use it by index use another member now";
const char byName[] = "programs that use it by name do not find it: connections by string, QML, "
                      "the bus";
const char callers[] = "programs that use it by name get another type: QML, the bus";
const char handlers[] = "older QML handlers use the old name of the parameter";
const char readers[] = "programs that read the names at run time get other names: introspection, "
                       "generated callers, hnipcctl";
const char isNew[] = "no older program uses it";
const char otherNames[] = "only callers that are generated again: they get other names";
const char otherEnumerator[] = "older % use the old number";

// The first matching rule applies. A change without a rule is a break.
const Rule rules[] = {
    // The binary interface.
    { "function", Added, Addition, isNew },
    { "function", Removed, Break, undefinedSymbol },
    { "variable", Added, Addition, isNew },
    { "variable", Removed, Break, undefinedSymbol },
    { "answer", Added, Addition, isNew },
    { "answer", ResultChanged, Break, otherResult },
    { "class", Added, Addition, isNew },
    { "class", ResultChanged, Break,
      "older % create the object with its old size: they have to be "
      "compiled again" },
    { "member", Added, Break, layout },
    { "member", Removed, Break, layout },
    { "member", Moved, Break, layout },
    { "member", ResultChanged, Break, layout },
    { "base", Added, Break, layout },
    { "base", Removed, Break, layout },
    { "base", Moved, Break, layout },
    { "virtual", Added, Break, table },
    { "virtual", Removed, Break, table },
    { "virtual", Moved, Break, table },
    { "virtual", ResultChanged, Break, otherResult },
    { "override", Added, Addition, "older % call the function of the base class" },
    { "enum", ResultChanged, Break, layout },
    { "enum", Added, Addition, isNew },
    { "enumerator", Added, Addition, isNew },
    { "enumerator", Removed, Break, otherEnumerator },
    { "enumerator", ResultChanged, Break, otherEnumerator },

    // The meta-objects.
    { "signal", Added, Addition, isNew },
    { "signal", Removed, Break, byName },
    { "signal", Moved, Break, byIndex },
    { "signal", ResultChanged, Break, callers },
    { "signal", NamesChanged, Break, handlers },
    { "slot", Added, Addition, isNew },
    { "slot", Removed, Break, byName },
    { "slot", Moved, Break, byIndex },
    { "slot", ResultChanged, Break, callers },
    { "slot", NamesChanged, Break, readers },
    { "invokable", Added, Addition, isNew },
    { "invokable", Removed, Break, byName },
    { "invokable", Moved, Break, byIndex },
    { "invokable", ResultChanged, Break, callers },
    { "invokable", NamesChanged, Break, readers },
    { "property", Added, Addition, isNew },
    { "property", Removed, Break, "bindings to it are undefined" },
    { "property", Moved, Break, byIndex },
    { "property", ResultChanged, Break, "bindings to it get another type, or are not updated" },
    { "names", Added, Addition, isNew },
    { "names", ResultChanged, Break, "QML that uses the old name does not find it" },
    { "info", ResultChanged, Break, "the interface has another name on the bus" },

    // The interface on the bus.
    { "dbus-method", Added, Addition,
      "no older program uses it; older daemons reply with UnknownMethod, "
      "which clients have to handle" },
    { "dbus-method", Removed, Break,
      "older clients that call it get UnknownMethod, and so do newer "
      "clients from older daemons" },
    { "dbus-method", ResultChanged, Break,
      "older clients cannot read the reply, and return the empty value" },
    { "dbus-method", NamesChanged, Harmless, otherNames },
    { "dbus-signal", Added, Addition, "older clients do not receive it" },
    { "dbus-signal", Removed, Break, "older clients wait for it and never receive it" },
    { "dbus-signal", NamesChanged, Harmless, otherNames },
};

// Changes of the same kind, in the same class, that concern the same programs.
struct Finding
{
    QByteArray section;
    QByteArray kind;
    Event event;
    QByteArray name; // of the first line
    QList<QByteArray> lines;
};

// Every QObject class has these virtual functions before its own.
const int virtualsOfQObject = 12;

// The programs that a change concerns. For an exported symbol, "called" is its C++ name.
QByteArray whom(const QByteArray &section, const QByteArray &called)
{
    const QByteArray subject = section == "exports" ? called.left(called.indexOf('(')) : section;
    if (subject.startsWith("local.") || subject.contains("HNIPCServer")
        || subject.contains("IHNIPC")) {
        return "daemons";
    }
    if (subject.contains("SupplyInformation") || subject.contains("HNIPCPrivate")) {
        return "applications and daemons";
    }
    return "applications";
}

QByteArray noun(const QByteArray &kind)
{
    static const char *const nouns[][2] = {
        { "answer", "function" },
        { "base", "base class" },
        { "class", "size" },
        { "dbus-method", "method on the bus" },
        { "dbus-signal", "signal on the bus" },
        { "info", "class info" },
        { "member", "data member" },
        { "names", "names of an enumeration" },
        { "override", "virtual function of a base" },
        { "virtual", "virtual function" },
    };
    for (const auto &row : nouns) {
        if (kind == row[0]) {
            return row[1];
        }
    }
    return kind;
}

const Rule &ruleFor(const Finding &finding)
{
    static const Rule unknown = { "", Removed, Break, "unknown: there is no rule for this change" };
    for (const Rule &rule : rules) {
        if (finding.kind == rule.kind && finding.event == rule.event) {
            return rule;
        }
    }
    return unknown;
}

QByteArray at(const Entry &entry)
{
    return entry.place < 0 ? QByteArray() : ' ' + QByteArray::number(entry.place);
}

// A symbol is hard to read, so the C++ name in its result is shown instead.
QByteArray called(const Entry &entry)
{
    const bool symbol = entry.kind == "function" || entry.kind == "variable";
    return symbol && !entry.result.isEmpty() ? entry.result : entry.name;
}

QByteArray withoutArguments(const Entry &entry)
{
    return called(entry).left(called(entry).indexOf('('));
}

int find(const Entries &entries, const Entry &wanted)
{
    for (int i = 0; i < entries.size(); ++i) {
        const Entry &entry = entries.at(i);
        if (entry.section == wanted.section && entry.kind == wanted.kind
            && entry.name == wanted.name) {
            return i;
        }
    }
    return -1;
}

// The entry with the same name as the removed one, or at the same place.
int findSuccessor(const Entries &entries, const Entry &gone)
{
    const bool named = called(gone).contains('(');
    for (int pass = named ? 0 : 1; pass < 2; ++pass) {
        for (int i = 0; i < entries.size(); ++i) {
            const Entry &entry = entries.at(i);
            const bool same = pass == 0 ? withoutArguments(entry) == withoutArguments(gone)
                                        : gone.place >= 0 && entry.place == gone.place;
            if (entry.section == gone.section && entry.kind == gone.kind && same) {
                return i;
            }
        }
    }
    return -1;
}

class Findings
{
public:
    void add(const Entry &entry, Event event, const QByteArray &line, const QByteArray &kind)
    {
        const QByteArray person = whom(entry.section, entry.result);
        for (Finding &finding : m_findings) {
            if (finding.section == entry.section && finding.kind == kind && finding.event == event
                && whom(finding.section, finding.name) == person) {
                finding.lines.append(line);
                return;
            }
        }
        m_findings.append(Finding { entry.section, kind, event, entry.result, { line } });
    }

    void add(const Entry &entry, Event event, const QByteArray &line)
    {
        add(entry, event, line, entry.kind);
    }

    Judgement judgement() const
    {
        static const char *const effects[] = { "", "harmless", "compatible", "BREAKS" };
        static const char *const events[] = { "added", "removed", "moved", "changed",
                                              "parameters renamed" };
        const int shown = 5;
        Judgement result = { Same, QByteArray() };
        for (const Finding &finding : m_findings) {
            const Rule &rule = ruleFor(finding);
            result.verdict = qMax(result.verdict, rule.verdict);
            QByteArray consequence = rule.consequence;
            consequence.replace('%', whom(finding.section, finding.name));
            result.report += finding.section + ", " + noun(finding.kind) + ' '
                + events[finding.event] + ":\n";
            for (int i = 0; i < qMin(shown, int(finding.lines.size())); ++i) {
                result.report += "    " + finding.lines.at(i) + '\n';
            }
            if (finding.lines.size() > shown) {
                result.report += "    and " + QByteArray::number(finding.lines.size() - shown)
                    + " more\n";
            }
            result.report += QByteArray("  ") + effects[rule.verdict] + ": " + consequence + "\n\n";
        }
        return result;
    }

private:
    QList<Finding> m_findings;
};

} // namespace

Judgement judge(const Entries &baseline, const Entries &now)
{
    Findings findings;
    Entries fresh = now;
    Entries gone;
    for (const Entry &old : baseline) {
        const int found = find(fresh, old);
        if (found < 0) {
            gone.append(old);
            continue;
        }
        const Entry entry = fresh.takeAt(found);
        if (entry.place != old.place) {
            findings.add(old, Moved, called(old) + " was" + at(old) + ", is" + at(entry) + " now");
        }
        if (entry.result != old.result) {
            findings.add(old, ResultChanged,
                         old.name + at(old) + " was " + old.result + ", is " + entry.result
                             + " now");
        }
        if (entry.names != old.names) {
            findings.add(old, NamesChanged,
                         old.name + at(old) + " was [" + old.names + "], is [" + entry.names
                             + "] now");
        }
    }
    for (const Entry &old : gone) {
        const int successor = findSuccessor(fresh, old);
        QByteArray line = called(old) + at(old);
        if (successor >= 0) {
            const Entry entry = fresh.takeAt(successor);
            line += " is now " + called(entry) + at(entry);
        }
        findings.add(old, Removed, line);
    }
    for (const Entry &entry : fresh) {
        // An override of a base's function does not change the layout of the virtual table.
        int count = virtualsOfQObject;
        for (const Entry &old : baseline) {
            if (old.kind == "virtual" && old.section == entry.section) {
                count = qMax(count, old.place + 1);
            }
        }
        const bool overrides = entry.kind == "virtual" && entry.place < count;
        findings.add(entry, Added, called(entry) + at(entry), overrides ? "override" : entry.kind);
    }
    return findings.judgement();
}

QByteArray versionAfter(const QByteArray &version, Verdict verdict)
{
    const QVersionNumber old = QVersionNumber::fromString(QString::fromUtf8(version));
    QVersionNumber next = old;
    switch (verdict) {
    case Same:
        break;
    case Harmless:
        next = QVersionNumber(old.majorVersion(), old.minorVersion(), old.microVersion() + 1);
        break;
    case Addition:
        next = QVersionNumber(old.majorVersion(), old.minorVersion() + 1, 0);
        break;
    case Break:
        next = QVersionNumber(old.majorVersion() + 1, 0, 0);
        break;
    }
    return next.toString().toUtf8();
}

bool isAtLeast(const QByteArray &version, const QByteArray &other)
{
    return QVersionNumber::fromString(QString::fromUtf8(version))
        >= QVersionNumber::fromString(QString::fromUtf8(other));
}
