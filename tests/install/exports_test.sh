#!/bin/bash
# SPDX-License-Identifier: MIT
#
# exports_test.sh LIBRARY SONAME CLASSES [calls|CLASS]: the shared library exports the public
# classes and nothing else. CLASSES is one argument, separated by blanks. With "calls", it also exports
# the two operators of the supply record, the instances of HNIPCPrivate::call() and hnipcVersion();
# with CLASS, also a class that is not a QObject.

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

# In Qt 6, QStringList is called "QList<QString>".
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
