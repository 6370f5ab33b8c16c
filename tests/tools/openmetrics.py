#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Reads metrics from standard input by two parsers of python3-prometheus-client: the one for
OpenMetrics, and the one for the text format of Prometheus, which node_exporter reads. Prints each
family and its samples, and fails if the parsers find different samples."""

import json
import sys

from prometheus_client.openmetrics.parser import text_string_to_metric_families as openmetrics
from prometheus_client.parser import text_string_to_metric_families as prometheus


def samples(families):
    return [(sample.name, list(sample.labels.items()), repr(float(sample.value)), sample.timestamp)
            for family in families for sample in family.samples]


text = sys.stdin.buffer.read().decode('utf-8')
families = list(openmetrics(text))
if samples(families) != samples(prometheus(text)):
    sys.exit('the two parsers read different samples')
for family in families:
    if not family.documentation:
        sys.exit(f'{family.name} has no help')
    print('#', family.name, family.type, family.unit or '-')
    for name, labels, value, timestamp in samples([family]):
        if timestamp is not None:
            sys.exit(f'{name} has a timestamp, which node_exporter refuses')
        label = ' '.join(f'{key}={json.dumps(each, ensure_ascii=False)}' for key, each in labels)
        print(name, label, value) if label else print(name, value)
