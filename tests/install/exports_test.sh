#!/bin/bash
# SPDX-License-Identifier: MIT
#
# exports_test.sh LIBRARY SONAME CLASSES [calls|CLASS]: what the shared library shows is the public
# classes, which are named with blanks between, and nothing else; with "calls" the two operators of
# the supply record, the fourteen call members and the version, too; with CLASS one that is no
# QObject.

set -euo pipefail
library=$1
soname=$2
classes=$3
extra=${4:-}
failed=0

actual_soname=$(readelf --dynamic --wide "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
if [ "$actual_soname" != "$soname" ]; then
    echo "soname is $actual_soname and not $soname"
    failed=1
fi

# "QList<QString>" is what QStringList is called in Qt 6.
symbols=$(nm --dynamic --defined-only --demangle "$library" | cut -d' ' -f3- \
    | sed 's/QList<QString>/QStringList/g; s/ >/>/g')

expected=
for class in $classes; do
    for start in 'vtable for ' 'typeinfo for ' 'typeinfo name for '; do
        expected+="$start$class"$'\n'
    done
    expected+="$class::staticMetaObject"$'\n'
done

if [ "$extra" != calls ]; then
    classes+=${extra:+ $extra}
else
    server='HNIPCServer::ServerType'
    value='QVariant const&'
    parameters="($server, QString const&, $value, $value, $value, $value, $value)"
    while read -r kind; do
        expected+="QVariant HNIPCPrivate::call<$kind>$parameters"$'\n'
    done <<'KINDS'
void
SupplyInformation
int
bool
unsigned int
unsigned long long
float
double
QByteArray
QString
QStringList
QList<QVariant>
QMap<QString, QVariant>
QHash<QString, QVariant>
KINDS
    expected+='operator<<(QDBusArgument&, SupplyInformation const&)
operator>>(QDBusArgument const&, SupplyInformation&)
hnipcVersion()
'
fi

while read -r symbol; do
    if ! grep --quiet --fixed-strings --line-regexp -- "$symbol" <<<"$symbols"; then
        echo "not exported: $symbol"
        failed=1
    fi
done <<<"${expected%$'\n'}"

others=$(grep --invert-match --extended-regexp "^(${classes// /|})::" <<<"$symbols" \
    | grep --invert-match --fixed-strings --line-regexp -- "${expected%$'\n'}" || true)
if [ "$others" ]; then
    echo "exported without need:"
    echo "$others"
    failed=1
fi
exit $failed
