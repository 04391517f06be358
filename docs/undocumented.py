#!/usr/bin/env python3
"""Names what the reference lacks: public names without a word, which Doxygen lets pass if they are enumerators,
and exported names that it does not describe.

Usage: docs/undocumented.py XML_FOLDER EXPORTS_LIST; the status is 1 if there is anything to name.
"""

import pathlib
import sys
import xml.etree.ElementTree

described, bare = set(), set()
for page in pathlib.Path(sys.argv[1]).glob("*.xml"):
    for member in xml.etree.ElementTree.parse(page).iterfind(".//memberdef[@prot='public']"):
        deleted = (member.findtext("argsstring") or "").endswith("=delete")
        for entry in [member, *member.iterfind("enumvalue")]:
            name = entry.findtext("qualifiedname") or entry.findtext("name")
            words = [*entry.find("briefdescription").itertext(), *entry.find("detaileddescription").itertext()]
            if "".join(words).strip():
                described.add(name)
            elif not deleted:
                bare.add(name)

exported = {line.split("(")[0] for line in open(sys.argv[2], encoding="utf-8").read().splitlines()}
objects = {line for line in exported if " for " in line}  # vtables and the like
for name in sorted(bare | exported - objects - described):
    print(f"not described in the reference: {name}")
sys.exit(bool(bare or exported - objects - described))
