#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""nightly_test.py SOURCE: checks .ci/nightly with tables of jobs that pass, fail, hang, are killed or
cannot run here, and its own table against the scripts that it starts."""

import ctypes
import importlib.machinery
import importlib.util
import json
import os
import re
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest
from unittest import mock

sys.dont_write_bytecode = True

SOURCE = ''


def load():
    loader = importlib.machinery.SourceFileLoader('nightly', f'{SOURCE}/.ci/nightly')
    nightly = importlib.util.module_from_spec(importlib.util.spec_from_loader('nightly', loader))
    loader.exec_module(nightly)
    return nightly


def run_table(directory, table, arguments):
    """In a process of its own: .ci/nightly with this table, a list of rows (name, command, missing,
    limit). Its clock shows 0 until the file "late" exists, then one hour."""
    ctypes.CDLL(None).prctl(1, signal.SIGTERM)  # PR_SET_PDEATHSIG: it ends with the test
    nightly = load()
    nightly.GRACE = 0.5
    nightly.clock = lambda: 3600 if os.path.exists(f'{directory}/late') else 0
    jobs = [nightly.Job(name, command, lambda missing=missing: missing, limit)
            for name, command, missing, limit in table]
    return nightly.main(jobs, nightly.pathlib.Path(directory, 'report'), arguments)


class Table(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = directory.name
        self.write('git', '#!/bin/sh\ncase "$*" in "rev-parse HEAD") cat "$D/commit" ;; '
                          '"status --porcelain") cat "$D/status" ;; esac\n')
        os.chmod(f'{self.directory}/git', 0o755)
        self.write('commit', '1a2b')
        self.write('status', '')

    def run_nightly(self, *rows, arguments=(), prefix=()):
        """The exit code for these rows: (name, command[, missing[, limit]])."""
        table = [(*row, '', 1000)[:4] if len(row) == 2 else (*row, 1000)[:4] for row in rows]
        done = subprocess.run([*prefix, sys.executable, __file__, SOURCE, '--run', self.directory,
                               json.dumps(table), *arguments],
                              env={**os.environ, 'D': self.directory,
                                   'PATH': f'{self.directory}:{os.environ["PATH"]}'},
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True)
        self.output = done.stdout
        return done.returncode

    def write(self, name, text):
        with open(f'{self.directory}/{name}', 'w', encoding='utf-8') as file:
            file.write(text)

    def read(self, name):
        with open(f'{self.directory}/{name}', encoding='utf-8') as file:
            return file.read()

    def results(self, name='report/report.json'):
        return [(job['name'], job['result'], job['reason'])
                for job in json.loads(self.read(name))['jobs']]

    def logs(self):
        return sorted(name for name in os.listdir(f'{self.directory}/report')
                      if not re.fullmatch(r'report\.(md|json)', name))

    def test_it_continues_after_each_kind_of_failure(self):
        code = self.run_nightly(
            ('good', 'echo fine'),
            ('bad', 'seq 90; exit 3'),
            ('killed', 'kill -KILL $$'),
            ('hung', 'sleep infinity', '', 0),
            ('elsewhere', 'touch "$D/ran"', 'there is no printer'),
            ('last', 'true'))
        self.assertEqual(code, 1, self.output)
        self.assertEqual(self.results(), [
            ('good', 'passed', ''),
            ('bad', 'failed', 'exited with 3'),
            ('killed', 'failed', 'was killed by signal 9'),
            ('hung', 'failed', 'did not end within 0 minutes'),
            ('elsewhere', 'not run', 'there is no printer'),
            ('last', 'passed', ''),
        ])
        self.assertFalse(os.path.exists(f'{self.directory}/ran'))

        self.assertEqual(self.logs(), ['bad.log', 'hung.log', 'killed.log'])
        self.assertEqual(self.read('report/bad.log').split(), [str(i) for i in range(1, 91)])
        page = self.read('report/report.md')
        self.assertTrue(self.output.endswith(page), self.output)
        for line in (
                '**2 of 6 jobs passed, 3 failed, 1 not run.**',
                '| good | passed | 0:00:00 |  |',
                '| bad | failed | 0:00:00 | exited with 3 |',
                '| elsewhere | not run |  | there is no printer |',
                '`seq 90; exit 3`: exited with 3. [bad.log](bad.log) ends with:',
                '    66', '    90'):
            self.assertIn(line, page.splitlines())
        self.assertNotIn('    65', page.splitlines())

    def test_all_passed(self):
        self.assertEqual(self.run_nightly(('a', 'exit 1')), 1)
        self.assertEqual(self.logs(), ['a.log'])
        self.assertEqual(self.run_nightly(('b', 'true'), ('c', 'false', 'no printer')), 0)
        self.assertEqual(self.logs(), [])
        self.assertIn('**1 of 2 jobs passed, 1 not run.**', self.read('report/report.md'))

    def test_what_the_report_says_of_the_tree(self):
        for status, line in (('', '- Commit: 1a2b'),
                             (' M README.md', '- Commit: 1a2b, with uncommitted changes')):
            self.write('status', status)
            self.run_nightly(('a', 'true'))
            report = json.loads(self.read('report/report.json'))
            self.assertEqual((report['commit'], report['changed']), ('1a2b', bool(status)))
            self.assertIn(line, self.read('report/report.md').splitlines())

    def test_it_stops_when_the_tree_changes(self):
        for change in ('echo 3c4d >"$D/commit"', 'echo "?? core" >"$D/status"'):
            self.write('commit', '1a2b')
            self.write('status', '')
            self.assertEqual(self.run_nightly(('a', change), ('b', 'true')), 1)
            self.assertEqual(self.results(), [('a', 'failed', 'the tree changed while it ran'),
                                              ('b', 'not run', 'the tree changed while a ran')])
            self.assertEqual(self.logs(), ['a.log'])

    def test_resume(self):
        count = 'echo >>"$D/%s"; '
        a, b, c = (('a', count % 'a'), ('b', count % 'b' + 'cat "$D/printer"'), ('c', count % 'c'))

        def runs():
            return [len(self.read(name)) for name in 'abc']

        self.assertEqual(self.run_nightly(a, b, c), 1)
        self.write('printer', '')
        self.assertEqual(self.run_nightly(a, b, c, arguments=['--resume']), 0, self.output)
        self.assertEqual(runs(), [1, 2, 1])
        other = 'in another run'
        self.assertEqual(self.results(), [('a', 'passed', other), ('b', 'passed', ''),
                                          ('c', 'passed', other)])
        self.assertEqual(self.logs(), [])
        # A named job runs again, and the others stay.
        self.assertEqual(self.run_nightly(a, b, c, arguments=['--resume', '--only', 'c']), 0)
        self.assertEqual(runs(), [1, 2, 2])
        self.assertEqual(self.results(), [('a', 'passed', other), ('b', 'passed', other),
                                          ('c', 'passed', '')])
        # With another command, the job has not passed yet.
        self.assertEqual(self.run_nightly(a, b, ('c', count % 'c' + 'true'),
                                          arguments=['--resume']), 0)
        self.assertEqual(runs(), [1, 2, 3])
        # Nor on another commit, nor on a tree that had changes.
        self.write('commit', '3c4d')
        self.assertEqual(self.run_nightly(a, b, c, arguments=['--resume']), 0)
        self.assertEqual(runs(), [2, 3, 4])
        self.write('status', '?? core')
        self.assertEqual(self.run_nightly(a, b, c), 0)
        self.write('status', '')
        self.assertEqual(self.run_nightly(a, b, c, arguments=['--resume']), 0)
        self.assertEqual(runs(), [4, 5, 6])
        # A report that cannot be read is none.
        self.write('report/report.json', '{')
        self.assertEqual(self.run_nightly(a, b, c, arguments=['--resume']), 0)
        self.assertEqual(runs(), [5, 6, 7])

    def test_resume_keeps_what_a_report_says(self):
        self.run_nightly(('a', 'touch "$D/late"'), ('b', 'false'))
        before = json.loads(self.read('report/report.json'))['jobs'][0]
        os.remove(f'{self.directory}/late')
        self.run_nightly(('a', 'touch "$D/late"'), ('b', 'false'), arguments=['--resume'])
        after = json.loads(self.read('report/report.json'))['jobs'][0]
        self.assertEqual(after, {**before, 'reason': 'in another run'})
        self.assertEqual(before['seconds'], 3600)
        self.assertIn('\n- Time: 0:00:00\n- Time of all jobs, also in other runs: 1:00:00\n',
                      self.read('report/report.md'))

    def test_resume_keeps_failures(self):
        rows = ('a', 'echo no printer; false'), ('b', 'false'), ('c', 'true')
        self.assertEqual(self.run_nightly(*rows), 1)
        self.assertEqual(self.run_nightly(*rows, arguments=['--resume', '--only', 'c']), 0)
        self.assertEqual(self.results(), [('a', 'failed', 'exited with 1'),
                                          ('b', 'failed', 'exited with 1'), ('c', 'passed', '')])
        self.assertEqual(self.logs(), ['a.log', 'b.log'])
        self.assertIn('    no printer', self.output.splitlines())
        # Without its log, as on another machine.
        os.remove(f'{self.directory}/report/a.log')
        self.assertEqual(self.run_nightly(*rows, arguments=['--resume', '--only', 'c']), 0)
        self.assertEqual(self.results()[0], ('a', 'failed', 'exited with 1'))
        # A job that is chosen, but cannot run, does not keep its log.
        rows = rows[0], (*rows[1], 'no power'), rows[2]
        self.assertEqual(self.run_nightly(*rows, arguments=['--resume']), 1)
        self.assertEqual(self.results(), [('a', 'failed', 'exited with 1'),
                                          ('b', 'not run', 'no power'),
                                          ('c', 'passed', 'in another run')])
        self.assertEqual(self.logs(), ['a.log'])

    def test_two_runs_at_once(self):
        def until(condition):
            return f'until {condition}; do sleep 0.01; done; '

        rows = (('long', 'touch "$D/begun"; ' + until('[ -e "$D/listed" ]')),
                ('other', 'ls "$D/report" >"$D/listed"; '
                 + until('grep \'"result": "passed"\' "$D/report/report.json"')),
                ('late', until('[ -e "$D/ended" ]') + 'false'))
        first = threading.Thread(target=self.run_nightly, args=rows,
                                 kwargs={'arguments': ['--resume', '--only', 'long', 'late']})
        first.start()
        while not os.path.exists(f'{self.directory}/begun'):
            time.sleep(0.01)
        self.run_nightly(*rows, arguments=['--resume', '--only', 'other'])
        second = self.output
        self.write('ended', '')
        first.join()
        self.assertIn('long.log', self.read('listed').split())
        self.assertIn('| long | passed |', second)
        self.assertNotIn('## long', second)  # its log has been deleted
        self.assertEqual(self.results(), [('long', 'passed', ''), ('other', 'passed', 'in another run'),
                                          ('late', 'failed', 'exited with 1')])
        self.assertEqual(self.logs(), ['late.log'])

    def test_resume_wants_a_commit(self):
        self.run_nightly(('a', 'true'))
        for commit, status in (('1a2b', ' M README.md'), ('', '')):
            self.write('commit', commit)
            self.write('status', status)
            self.assertEqual(self.run_nightly(('a', 'true'), arguments=['--resume']), 2)
            self.assertEqual(self.results(), [('a', 'passed', '')])

    def test_missing(self):
        rows = ('a', 'true'), ('b', 'false'), ('c', 'true', 'there is no printer')
        missing = ('b: "false" has not passed on 1a2b\n'
                   'c: "true" has not passed on 1a2b\n')
        self.assertEqual(self.run_nightly(*rows, arguments=['--missing']), 1)
        self.assertEqual(self.output, 'a: "true" has not passed on 1a2b\n' + missing)
        self.run_nightly(*rows)
        self.assertEqual(self.run_nightly(*rows, arguments=['--missing']), 1)
        self.assertEqual(self.output, missing)
        self.assertEqual(self.run_nightly(*rows, arguments=['--missing', '--only', 'a']), 0)
        self.assertEqual(self.output, '')
        self.assertEqual(self.results()[0], ('a', 'passed', ''))

    def test_time(self):
        self.run_nightly(('a', 'touch "$D/late"'), arguments=['--budget', '75'])
        report = json.loads(self.read('report/report.json'))
        self.assertEqual(report['budget_minutes'], 75)
        self.assertEqual(report['seconds'], 3600)
        self.assertEqual(report['jobs'], [{'name': 'a', 'command': 'touch "$D/late"',
                                           'result': 'passed', 'reason': '', 'seconds': 3600,
                                           'log': '', 'skipped': []}])
        self.assertIn('- Time: 1:00:00, with a budget of 75 minutes\n',
                      self.read('report/report.md'))

    # Neither process reacts to SIGTERM, and the second one is not in the session of the job.
    HANG = ('trap "" TERM; setsid sleep infinity & echo $! >"$D/pid"; touch "$D/late"; '
            'wait; sleep infinity')

    def test_budget(self):
        code = self.run_nightly(('quick', 'true'), ('hung', self.HANG), ('next', 'true'),
                                ('elsewhere', 'true', 'no printer'), arguments=['--budget', '60'])
        self.assertEqual(code, 1, self.output)
        over = 'the budget of 60 minutes ended'
        self.assertEqual(self.results(), [('quick', 'passed', ''), ('hung', 'stopped', over),
                                          ('next', 'not run', over), ('elsewhere', 'not run', over)])
        self.assertEqual(self.logs(), ['hung.log'])
        self.assertFalse(os.path.exists('/proc/' + self.read('pid').strip()))

    def test_budget_is_not_used_up(self):
        self.run_nightly(('long', 'touch "$D/late"'), ('next', 'true'),
                         arguments=['--budget', '60.5'])
        self.assertEqual(self.results(), [('long', 'passed', ''), ('next', 'passed', '')])

    def test_what_a_job_leaves_is_ended(self):
        self.run_nightly(('leaves', 'setsid sleep infinity & echo $! >"$D/pid"'),
                         ('next', '! kill -0 "$(cat "$D/pid")"'))
        self.assertEqual(self.results(), [('leaves', 'passed', ''), ('next', 'passed', '')])

    def test_interrupted(self):
        for name in ('INT', 'TERM', 'HUP'):
            code = self.run_nightly(('first', f'kill -{name} $PPID; sleep infinity'), ('next', 'true'),
                                    prefix=['env', '--default-signal=HUP,INT'])
            self.assertEqual(code, 1)
            why = f'the run received SIG{name}'
            self.assertEqual(self.results(), [('first', 'stopped', why), ('next', 'not run', why)])

    def test_ignored_signal(self):
        code = self.run_nightly(('first', 'kill -HUP $PPID'), ('next', 'kill -HUP $$'),
                                prefix=['env', '--ignore-signal=HUP'])
        self.assertEqual(code, 1)
        self.assertEqual(self.results(), [('first', 'passed', ''),
                                          ('next', 'failed', 'was killed by signal 1')])

    def test_report_so_far(self):
        self.run_nightly(('first', 'exit 1'), ('second', 'cp "$D/report/report.json" "$D/midway"'),
                         ('third', 'true'))
        self.assertEqual(self.results('midway'), [
            ('first', 'failed', 'exited with 1'),
            ('second', 'stopped', 'was running when this was written'),
            ('third', 'not run', 'not started yet'),
        ])

    def test_control_characters_are_not_in_the_report(self):
        self.run_nightly(('colours', r"printf '\033[31mred\033[0m\000\n\377\n'; exit 1"))
        self.assertIn('    red\n    \ufffd\n', self.read('report/report.md'))

    def test_skipped_tests(self):
        with open(f'{self.directory}/tests.xml', 'w', encoding='utf-8') as file:
            file.write('<testsuite><testcase name="tst_x" status="run"><system-out>'
                       'SKIP   : tst_X::f(a row) Qt 4 has no connections to functions\n'
                       '</system-out></testcase></testsuite>')
        self.assertEqual(self.run_nightly(
            ('suite', 'echo; echo "  a line"; echo; scripts/skipped 4="$D/tests.xml"'),
            ('other', 'echo; echo "  a line"')), 0)
        skipped = 'Qt 4: tst_x tst_X::f: (a row) Qt 4 has no connections to functions'
        jobs = json.loads(self.read('report/report.json'))['jobs']
        self.assertEqual([job['skipped'] for job in jobs], [[skipped], []])
        self.assertIn(f'\n## Skipped in suite\n\n- {skipped}\n', self.read('report/report.md'))
        self.assertNotIn('Skipped in other', self.read('report/report.md'))

    def test_choice(self):
        rows = [('a', 'true'), ('b', 'true'), ('c', 'exit 1')]
        self.assertEqual(self.run_nightly(*rows, arguments=['--only', 'b', 'a']), 0)
        results = [('a', 'passed', ''), ('b', 'passed', ''), ('c', 'not run', 'not chosen')]
        self.assertEqual(self.results(), results)
        self.assertEqual(self.run_nightly(*rows, arguments=['--list', '--only', 'c']), 0)
        self.assertEqual(self.output.split(), ['c', 'exit', '1'])
        self.assertEqual(self.results(), results)

    def test_wrong_options(self):
        for wrong in (['--only', 'b'], ['--only'], ['--budget', '0'], ['--budget', '-1'],
                      ['--budget', 'lots'], ['--budget', 'nan'], ['--budget', 'inf'], ['a']):
            self.assertEqual(self.run_nightly(('a', 'true'), arguments=wrong), 2, wrong)


class OwnTable(unittest.TestCase):
    def test_commands(self):
        jobs = load().JOBS
        self.assertEqual(len({job.name for job in jobs}), len(jobs))
        for job in jobs:
            script, *arguments = job.command.split()
            done = subprocess.run([f'{SOURCE}/{script}', '--help'], stdout=subprocess.PIPE, text=True)
            self.assertEqual(done.returncode, 0, job)
            for argument in arguments:
                if not argument.isdigit():
                    self.assertRegex(done.stdout, rf'(?<!\S){re.escape(argument)}\b', job)


class Needs(unittest.TestCase):
    def test_root(self):
        nightly = load()
        with mock.patch('os.geteuid', return_value=1000):
            for need in (nightly.root, nightly.root_and_mounts, nightly.debian_amd64):
                self.assertEqual(need(), 'it needs root')
        with mock.patch('os.geteuid', return_value=0):
            self.assertEqual(nightly.root(), '')
            for succeeds, missing in ((True, ''), (False, 'root may not mount here')):
                with mock.patch.object(nightly, 'succeeds', return_value=succeeds):
                    self.assertEqual(nightly.root_and_mounts(), missing)

    def test_journal(self):
        nightly = load()
        with mock.patch.object(nightly, 'root_and_mounts', return_value='no'):
            for exists, missing in ((True, ''), (False, 'no')):
                with mock.patch('os.path.exists', return_value=exists):
                    self.assertEqual(nightly.journal(), missing)

    def test_processor(self):
        nightly = load()
        with mock.patch.object(nightly, 'root_and_mounts', return_value=''), \
                mock.patch('platform.machine', return_value='aarch64'):
            self.assertEqual(nightly.debian_amd64(), 'it needs Debian for amd64')

    def test_qt4(self):
        nightly = load()
        with tempfile.TemporaryDirectory() as directory, \
                mock.patch.dict(os.environ, PATH=f'{directory}:/usr/bin:/bin'):
            for version, missing in (('4.8.7', ''), ('5.15.8', 'the qmake on the PATH is not of Qt 4')):
                with open(f'{directory}/qmake', 'w', encoding='utf-8') as file:
                    file.write(f'#!/bin/sh\n[ "$*" = "-query QT_VERSION" ] && echo {version}\n')
                os.chmod(f'{directory}/qmake', 0o755)
                self.assertEqual(nightly.qt4(), missing)
            os.environ['PATH'] = f'{directory}/nowhere'
            self.assertEqual(nightly.qt4(), 'there is no qmake on the PATH')


if __name__ == '__main__':
    SOURCE = os.path.realpath(sys.argv.pop(1))
    if sys.argv[1:2] == ['--run']:
        sys.exit(run_table(sys.argv[2], json.loads(sys.argv[3]), sys.argv[4:]))
    unittest.main()
