#!/usr/bin/env python3
"""Writes large or hostile tunnelsim scenarios to stdout, to measure how the
runner scales and how it refuses what it cannot take.

    gen-scenario.py --tunnels 100000 > big.json    # LDP, SR, BGP-LU over LDP
    gen-scenario.py --ribs 10000 > ribs.json       # that many RIB names
    gen-scenario.py --wide-object 80000            # an entry with 80k keys
    gen-scenario.py --deep 400000                  # unclosed lists, nested
    gen-scenario.py --long-name 10000000           # a 10 MB table name
    gen-scenario.py --nul                          # a NUL byte after the document

Time them with `time tunnelsim --check FILE` (or a full run with `tunnelsim
FILE > /dev/null`).
"""
import argparse
import json
import sys


def address(n, first_octet=10):
    return f"{first_octet}.{(n >> 16) & 255}.{(n >> 8) & 255}.{n & 255}"


def tunnels(count):
    """Two fifths LDP, two fifths SR to the same endpoints, one fifth BGP-LU
    over the LDP tunnels."""
    igp = max(1, count * 2 // 5)
    ldp, sr, bgp_lu = [], [], []
    for i in range(igp):
        endpoint = address(i) + "/32"
        hop = {"hop": address(i % 250 + 1, 11), "intf": f"Ethernet{i % 48 + 1}"}
        ldp.append({"id": f"ldp:{i + 1}", "endpoints": [endpoint],
                    "vias": [dict(hop, labels=[16 + i % 1000000])], "m": 10})
        sr.append({"id": f"sr:{i + 1}", "endpoints": [endpoint],
                   "vias": [dict(hop, labels=[16000 + i % 1000])], "m": 10})
    for i in range(count - 2 * igp):
        bgp_lu.append({"id": f"bgpLu:{i + 1}", "endpoints": [address(i, 20) + "/32"],
                       "vias": [{"hop": address(i % igp), "tunnel": f"ldp:{i % igp + 1}"}],
                       "labels": [100000 + i % 900000]})
    return {
        "tables": {"ldp": {"entries": ldp}, "sr": {"entries": sr},
                   "bgpLu": {"entries": bgp_lu}},
        "ribs": {"system-tunnel-rib": {"ldp": {}, "sr": {}, "bgpLu": {}}},
        "script": ["run", "print"],
    }


def ribs(count):
    return {
        "tunnelFib": False,
        "tables": {"ldp": {"entries": [{"id": "ldp:1", "endpoints": ["10.0.0.1/32"]}]}},
        "ribs": {f"rib-{i}": {"ldp": {}} for i in range(count)},
    }


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    shape = parser.add_mutually_exclusive_group(required=True)
    shape.add_argument("--tunnels", type=int, help="a scenario with this many tunnels")
    shape.add_argument("--ribs", type=int, help="this many RIBs over one LDP tunnel")
    shape.add_argument("--wide-object", type=int, metavar="KEYS",
                       help="a table entry with this many distinct keys")
    shape.add_argument("--deep", type=int, metavar="LEVELS",
                       help="a comment of this many nested lists, never closed")
    shape.add_argument("--long-name", type=int, metavar="BYTES",
                       help="a table whose name is this long")
    shape.add_argument("--nul", action="store_true",
                       help="a NUL byte after the document, then text that is not JSON")
    args = parser.parse_args()
    out = sys.stdout
    if args.tunnels is not None:
        json.dump(tunnels(args.tunnels), out, indent=1)
    elif args.ribs is not None:
        json.dump(ribs(args.ribs), out, indent=1)
    elif args.wide_object is not None:
        entry = {f"k{i}": i for i in range(args.wide_object)}
        json.dump({"tables": {"ldp": {"entries": [entry]}}}, out)
    elif args.deep is not None:
        out.write('{"comment": ' + "[" * args.deep)
    elif args.long_name is not None:
        json.dump({"tables": {"x" * args.long_name: {}}}, out)
    else:
        out.write('{"script": ["run"]}\n\0{"not": json')
    out.write("\n")


if __name__ == "__main__":
    main()
