# SPDX-License-Identifier: MIT
"""Counts what a document costs, and what a whole request does, ours beside plain cJSON."""
import collections
import os
import struct
import tempfile

import callgrind
from load import Load

TURNS = 4      # of each document, as documents/count.cpp takes them
WARM_UP = 100  # requests that do not count
REQUESTS = 200

# own: instructions in the program itself, without its libraries
Cost = collections.namedtuple("Cost", "instructions own allocations")

# What has the program ask and what may be counted of it: the daemon's receive thread does the work.
SIDES = {"ours": (["src/vxquilan_main/vxquilan"], "frame_coap_recv*", ["--gateway"]),
         "plain": (["bench/bench_bare", "plain"], "main", [])}
ORDERS = {"request wan": ("GET", ".sys/gateway/ntwk/wan", "-"),
          "request HostInfo-0": ("GET", ".sys/gateway/system/HostInfo", "-"),
          "request settings POST": ("POST", ".sys/gateway/app/qosclass_host",
                                    "lab/platform/bodies/qos-set.json")}


def count_documents(build):
    """Costs of a document, by name and side."""
    counted = {}
    program = os.path.join(build, "bench/bench_count")
    for profile in callgrind.run([program], environment=_libraries(build)):
        if "/" in profile.label:
            name, side = profile.label.rsplit("/", 1)
            counted.setdefault(name, {})[side] = Cost(
                *(figure / TURNS for figure in _cost(profile, "bench_count")))
    return counted


def count_requests(build):
    """Costs of a request from its arrival to its answer, by name and side."""
    return {name: {side: _request(build, *SIDES[side], order) for side in SIDES}
            for name, order in ORDERS.items()}


def _request(build, command, function, options, order):
    program = os.path.basename(command[0])
    few, many = (_cost(_serve(build, command, function, options, order, count), program)
                 for count in (WARM_UP, WARM_UP + REQUESTS))
    return Cost(*((more - less) / REQUESTS for less, more in zip(few, many)))


def _cost(profile, program):
    return Cost(profile.total, profile.of_object(program), profile.allocations)


def _serve(build, command, function, options, order, count):
    """The profile of a program that has served so many requests."""
    method, path, body = order
    with tempfile.NamedTemporaryFile() as size:
        size.write(struct.pack("=ii", 0, 0))
        size.flush()
        load = Load(build, *options)

        def ask(process):
            load.expect("first")
            load.expect("online")
            load.ask(method, path, count, body)
            process.terminate()
        profiles = callgrind.run(
            [os.path.join(build, command[0]), *command[1:]],
            options=[f"--toggle-collect={function}"], interact=ask,
            environment={"BENCH_PORT": load.port, "BENCH_TLS": "0", "BENCH_GATEWAY": size.name,
                         **_libraries(build)})
        load.close()
    return profiles[-1]


def _libraries(build):
    return {"LD_LIBRARY_PATH": os.path.join(build, "bench")}
