#!/bin/bash
# SPDX-License-Identifier: MIT
#
# release_test.sh SOURCE: scripts/release names what is missing, runs the jobs of .ci/nightly in a
# clone, and makes the release only if nothing is missing. The real scripts run in a small repository.
# Commands that pass, fail, or change the tree replace the jobs.

set -euo pipefail
source=$1
for program in git reuse dpkg-deb; do
    command -v $program >/dev/null || { echo "skipped: $program is not installed"; exit 77; }
done
work=$(mktemp --directory)
trap 'rm -rf "$work"' EXIT
export HOME=$work GIT_CONFIG_NOSYSTEM=1 GIT_AUTHOR_NAME=Tester GIT_AUTHOR_EMAIL=tester@example.org
export GIT_COMMITTER_NAME=Tester GIT_COMMITTER_EMAIL=tester@example.org
cp "$source/.ci/nightly" "$work" # other users may not be able to read the source
mkdir "$work/tree"
cd "$work/tree"
git init --quiet --initial-branch=main
mkdir -p .ci scripts debian tests/baseline/recorded LICENSES .reuse
cp "$source"/scripts/{release,contact,bill,baseline,packages.sh} scripts
cp "$source/LICENSES/MIT.txt" LICENSES
cp "$source/.reuse/dep5" .reuse
echo /build/ >.gitignore
echo 'project(HNIPC VERSION 2.3.4 LANGUAGES CXX' >CMakeLists.txt
echo 2.3.4 >tests/baseline/recorded/version
printf '# Changelog\n\n## 2.3.4 - 2026-01-31\n\n- New.\n\n## 2.3.3 - 2025-12-31\n' >CHANGELOG.md
echo 'Paula Printer <paula@example.org>' >CONTACT
cat >debian/control <<'CONTROL'
Source: hnipc
Maintainer: Paula Printer <paula@example.org>

Package: libhnipc-qt6-1
Architecture: any

Package: hnipc-doc
Architecture: all
CONTROL
cat >debian/changelog <<'CHANGELOG'
hnipc (2.3.4) bookworm; urgency=medium

  * New.

 -- Paula Printer <paula@example.org>  Sat, 31 Jan 2026 12:00:00 +0000

hnipc (2.3.3) bookworm; urgency=medium

  * Old.

 -- Carl Cutter <carl@example.org>  Wed, 31 Dec 2025 12:00:00 +0000
CHANGELOG
cat >debian/libhnipc-qt6-1.symbols <<'SYMBOLS'
libhnipc-qt6.so.2 libhnipc-qt6-1 #MINVER#
* Build-Depends-Package: libhnipc-qt6-dev
 (c++)"HNIPC::Alert(int)@Base" 2.3.4~
 (c++)"vtable for HNIPC@Base" 2.0.0~
SYMBOLS
cat >.ci/nightly <<NIGHTLY
#!/usr/bin/env python3
import importlib.machinery, importlib.util, pathlib, sys
sys.dont_write_bytecode = True
loader = importlib.machinery.SourceFileLoader("nightly", "$work/nightly")
nightly = importlib.util.module_from_spec(importlib.util.spec_from_loader("nightly", loader))
loader.exec_module(nightly)
nightly.TOP = pathlib.Path(__file__).resolve().parent.parent
jobs = [nightly.Job("lint", "scripts/lint"), nightly.Job("newcomer", "scripts/newcomer"),
        nightly.Job("packages", "scripts/package")]
sys.exit(nightly.main(jobs, nightly.TOP / "build/nightly", sys.argv[1:]))
NIGHTLY
echo 'echo "lint" >>../../ran' | tee scripts/lint >scripts/newcomer
cat >scripts/package <<'PACKAGE'
mkdir -p build/package
touch build/package/{hnipc_2.3.4.dsc,hnipc_2.3.4.tar.xz,build.log}
for package in libhnipc-qt6-1 hnipc-doc; do
    mkdir -p build/$package/DEBIAN
    printf 'Package: %s\nVersion: 2.3.4\nArchitecture: all\nMaintainer: p\nDescription: d\n' \
        $package >build/$package/DEBIAN/control
    dpkg-deb --build build/$package build/package/${package}_2.3.4_all.deb >/dev/null
done
PACKAGE
sed --in-place '1i#!/bin/bash' scripts/{lint,newcomer,package}
chmod +x scripts/* .ci/nightly
git add .
git commit --quiet --message="Version 2.3.4"

failed=
# says CODE TEXT COMMAND...: the command exits with the code and prints the text. The text may have *.
says() {
    local output code=0
    output=$("${@:3}" 2>&1) || code=$?
    # shellcheck disable=SC2053 # the text is a pattern
    if [ "$code" -ne "$1" ] || [[ $output != *$2* ]]; then
        printf '%s: expected %s and "%s", exit code %s and this came:\n%s\n' \
            "${*:3}" "$1" "$2" "$code" "$output"
        failed=yes
    fi
}
# is WHAT EXPECTED ACTUAL
is() {
    if [ "$2" != "$3" ]; then
        echo "$1: \"$3\" and not \"$2\""
        failed=yes
    fi
}

# A command line that is wrong.
says 2 "one of --check, --run and a version is missing" scripts/release
says 2 '"2.3" is not a version such as 1.0.0' scripts/release 2.3
says 2 "unknown option --make" scripts/release --make
says 2 "argument --only: invalid choice: 'tests'" scripts/release --run lint tests
says 2 "one version is enough" scripts/release 2.3.4 2.3.5
says 2 "--check has no arguments" scripts/release --check lint

# Only the checks are missing.
commit=$(git rev-parse HEAD)
clone=build/release/${commit:0:12}
rm -rf build/release
says 1 "the checks have not run on $commit: run scripts/release --run

Missing: 1. 2.3.4 cannot be released as $commit." scripts/release --check
says 1 "Missing: 1." scripts/release 2.3.4

# One of them, then the others, but not this one again.
says 0 "newcomer: passed" scripts/release --run newcomer
says 1 "lint: \"scripts/lint\" has not passed on $commit
packages: \"scripts/package\" has not passed on $commit

Missing: 2. 2.3.4 cannot be released as $commit." scripts/release --check
says 0 "**3 of 3 jobs passed.**" scripts/release --run
is "runs of lint and newcomer" 2 "$(wc -l <build/ran)"
says 0 "Nothing is missing. 2.3.4 can be released as $commit." scripts/release --check

# with TEXT FILE SED-SCRIPT: with this change, the text is missing.
with() {
    sed --in-place "$3" "$2"
    git diff --quiet && { echo "$2 is as it was: $3"; failed=yes; }
    says 1 "$1" scripts/release 2.3.4
    git checkout --quiet "$2"
}
with "the tree has changes that are not committed" CHANGELOG.md '$aMore.'
with "the version is 2.3.5 in CMakeLists.txt, and 2.3.4 is to be released" CMakeLists.txt s/2.3.4/2.3.5/
with 'CHANGELOG.md: the version is "2.4.0", and 2.3.4 in CMakeLists.txt' CHANGELOG.md 's/## 2.3.4/## 2.4.0/'
with 'debian/changelog: the version is "2.4.0", and 2.3.4 in CMakeLists.txt' debian/changelog s/2.3.4/2.4.0/
with 'recorded/version: the version is "2.3.3"' tests/baseline/recorded/version s/4/3/
with 'heading of 2.3.4 has no date; it is "## 2.3.4", and not "## 2.3.4 - YEAR-MONTH-DAY"' \
    CHANGELOG.md 's/^\(## 2.3.4\).*/\1/'
with 'heading of 2.3.4 has no date; it is "## 2.3.4 - 2026-02-31"' CHANGELOG.md 's/-01-31/-02-31/'
with 'heading of 2.3.4 has no date; it is "## 2.3.4 - soon"' CHANGELOG.md 's/2026-01-31/soon/'
with 'the date 9026-01-31 is in the future' CHANGELOG.md 's/2026-01-31/9026-01-31/'
with 'the date is "Sun, 01 Feb 2026 12:00:00 +0000", and not that of CHANGELOG.md' \
    debian/changelog 's/Sat, 31 Jan/Sun, 01 Feb/'
with '"Sat, 31 Jan 9026 12:00:00 +0000" is in the future, or no time' debian/changelog 's/2026 12/9026 12/'
with '"Sat, 31 Jan 2026 25:00:00 +0000" is in the future, or no time' debian/changelog 's/2026 12/2026 25/'
with "debian/changelog: the distribution is UNRELEASED" debian/changelog '1s/bookworm/UNRELEASED/'
with "qt6-1.symbols: symbols have later versions than 2.3.4: 2.3.5~" \
    debian/libhnipc-qt6-1.symbols 's/2.0.0~/2.3.5~/'
echo "2.3.4 0123" >tests/baseline/recorded/released
says 1 "recorded/released: 2.3.4 was released, as commit 0123" scripts/release 2.3.4
rm tests/baseline/recorded/released
with "Paula Printer <paula@example.invalid> is the placeholder" CONTACT s/org/invalid/
with 'debian/control: the contact is "Carl <c@example.org>"' debian/control \
    's/^Maintainer: .*/Maintainer: Carl <c@example.org>/'
with 'CONTACT: "Paula" is not of the form' CONTACT 's/ .*//'
# scripts/contact writes the contact: into the first entry of debian/changelog, not the older ones.
echo 'R&D / Paula 1 <paula+rd@example.org>' >CONTACT
says 1 'debian/changelog: the contact is "Paula Printer <paula@example.org>"' scripts/contact --check
says 0 "" scripts/contact
says 0 "" scripts/contact --check
is "changed lines" "- -- Paula Printer <paula@example.org>  Sat, 31 Jan 2026 12:00:00 +0000
+ -- R&D / Paula 1 <paula+rd@example.org>  Sat, 31 Jan 2026 12:00:00 +0000
-Maintainer: Paula Printer <paula@example.org>
+Maintainer: R&D / Paula 1 <paula+rd@example.org>" \
    "$(git diff --unified=0 debian | sed -n '/^[-+]\( --\|M\)/p')"
git checkout --quiet .

touch stray
says 1 "or files that git does not know" scripts/release 2.3.4
rm stray
mv "$clone/build/package/hnipc-doc_2.3.4_all.deb" .
says 1 "there is no hnipc-doc of version 2.3.4" scripts/release --check
mv hnipc-doc_2.3.4_all.deb "$clone/build/package"
touch "$clone/stray"
says 1 "the checks have not run on $commit" scripts/release 2.3.4
rm "$clone/stray"

# The report of one commit does not count for the next commit, nor does a copy of it.
git commit --quiet --allow-empty --message=Next
next=$(git rev-parse HEAD)
cp --recursive "$clone" "build/release/${next:0:12}"
says 1 "the checks have not run on $next" scripts/release 2.3.4
git -C "build/release/${next:0:12}" checkout --quiet --detach "$next"
says 1 "Missing: 3." scripts/release 2.3.4
rm -r "build/release/${next:0:12}"
git reset --quiet --hard "$commit"

# Nothing has been released until now. A job has not passed if it fails or changes the tree.
if [ "$(git tag)" ] || [ -e build/release/2.3.4 ]; then
    echo "a part was released"
    failed=yes
fi
sed --in-place '$aecho "no such printer"; exit 3' scripts/newcomer
sed --in-place '$aecho >>CHANGELOG.md' scripts/package
git commit --quiet --all --message="Checks that fail"
says 1 "**1 of 3 jobs passed, 2 failed.***no such printer" scripts/release --run
says 1 "the checks have not run on" scripts/release --check
says 2 "needs a commit without changes" scripts/release --run
git -C "build/release/$(git rev-parse --short=12 HEAD)" checkout --quiet .
says 1 "newcomer: \"scripts/newcomer\" has not passed*packages: \"scripts/package\" has not passed*
Missing: 2." scripts/release --check
git reset --quiet --hard "$commit"

# The release.
says 0 "Released 2.3.4: tag v2.3.4" scripts/release 2.3.4
is "commit of the tag" "$commit" "$(git rev-parse 'v2.3.4^{commit}')"
is "kind of the tag" tag "$(git cat-file -t v2.3.4)"
is "commit before the record's" "$commit" "$(git rev-parse 'HEAD^')"
is "record" "2.3.4 $commit" "$(git show HEAD:tests/baseline/recorded/released)"
is "changes of the tree" "" "$(git status --porcelain)"
cd build/release/2.3.4
files=(hnipc-2.3.4.spdx hnipc-2.3.4.tar.gz hnipc-doc_2.3.4_all.deb hnipc_2.3.4.dsc hnipc_2.3.4.tar.xz
    libhnipc-qt6-1_2.3.4_all.deb)
is "files" "SHA256SUMS ${files[*]}" "$(printf '%s\n' * | LC_ALL=C sort | xargs)"
sha256sum --check --strict --quiet SHA256SUMS || failed=yes
is "files with a checksum" "${files[*]}" "$(sed 's/^[^ ]*  //' SHA256SUMS | LC_ALL=C sort | xargs)"
tar --extract --file=hnipc-2.3.4.tar.gz --directory="$work"
diff --recursive --exclude=build --exclude=.git --exclude=released "$work/tree" "$work/hnipc-2.3.4" \
    || failed=yes
is "name of the bill" hnipc-2.3.4 "$(sed -n 's/^DocumentName: //p' hnipc-2.3.4.spdx)"
is "creators of the bill" "Person: Paula Printer (paula@example.org)" \
    "$(sed -n 's/^Creator: //p' hnipc-2.3.4.spdx | grep --invert-match '^Tool: reuse-')"
sum=$(sha1sum "$work/tree/CHANGELOG.md")
is "CHANGELOG.md in the bill" "FileChecksum: SHA1: ${sum%% *}
LicenseConcluded: NOASSERTION
LicenseInfoInFile: MIT
FileCopyrightText: <text>2026 The HNIPC authors</text>" \
    "$(sed -n '/^FileName: .\/CHANGELOG.md$/,/^$/p' hnipc-2.3.4.spdx | sed '1,2d;/^$/d')"
cp hnipc-2.3.4.{tar.gz,spdx} "$work"

# A version is released only once.
cd "$work/tree"
says 1 "the tag v2.3.4 exists
tests/baseline/recorded/released: 2.3.4 was released, as commit $commit" scripts/release 2.3.4
says 1 "2.3.4 was released, as commit $commit: raise the version" scripts/baseline --unreleased

# A later version has to fit the changes since the released one, also with --unreleased. The stand-in
# for hnipc-baseline refuses a record of 2.3.4 in another directory.
mkdir -p "$work/bin" build/qt{5,6}/tests/baseline
ln --symbolic /bin/true "$work/bin/cmake"
printf '#!/bin/sh\n[ "$1" != permit ] || [ ! -e "$2/version" ] || { echo "after $(cat "$2/version")"; exit 1; }\n' \
    | tee build/qt5/tests/baseline/hnipc-baseline >build/qt6/tests/baseline/hnipc-baseline
chmod +x build/qt*/tests/baseline/hnipc-baseline
echo 'need_packages() { :; }' >>scripts/packages.sh
sed --in-place s/2.3.4/2.3.5/ CMakeLists.txt
echo 2.3.5 >tests/baseline/recorded/version
says 1 "after 2.3.4" env PATH="$work/bin:$PATH" scripts/baseline
says 1 "after 2.3.4" env PATH="$work/bin:$PATH" scripts/baseline --unreleased
git checkout --quiet .

# The next release upgrades the packages of this one, which are in its clone.
git -c advice.detachedHead=false checkout --quiet --detach
git commit --quiet --allow-empty --message="The next release"
says 0 "packages: passed" scripts/release --run packages
is "packages of the last release" "$PWD/build/release/2.3.4" \
    "$(realpath "build/release/$(git rev-parse --short=12 HEAD)/build/release/2.3.4")"
rm build/release/2.3.4/*.deb
says 1 "build/release/2.3.4: there are no packages of the last release" scripts/release --run
git checkout --quiet main

# The archive and the bill of another clone, with other settings of git, are the same. Root runs the
# jobs there, and the owner of the clone makes the release.
git clone --quiet --no-hardlinks . "$work/clone" 2>/dev/null
cd "$work/clone"
git config tar.umask 0022
git -c advice.detachedHead=false checkout --quiet "$commit"
git tag --delete v2.3.4 >/dev/null
owner=()
if [ "$(id -u)" -eq 0 ]; then
    owner=(setpriv --reuid=nobody --regid=nogroup --clear-groups)
    chown --recursive nobody:nogroup .
    chmod go+rx "$work"
fi
says 0 "**3 of 3 jobs passed.**" scripts/release --run
says 0 "Released 2.3.4" "${owner[@]}" env TZ=Asia/Tokyo LC_ALL=C scripts/release 2.3.4
for file in hnipc-2.3.4.{tar.gz,spdx}; do
    cmp "build/release/2.3.4/$file" "$work/$file" || failed=yes
done

[ -z "$failed" ]
