"""The units of an XLIFF file as the Translate Toolkit reads them, as JSON.

For the tests: it is a reader that is not ours. Texts are taken from the elements that it found, since its
own property "source" joins white space.
"""

import json
import sys

from translate.storage import xliff

store = xliff.xlifffile.parsefile(sys.argv[1])
json.dump(
    {
        "languages": [store.sourcelanguage, store.targetlanguage],
        "units": [
            {
                "id": unit.xmlelement.get("id"),
                "resname": unit.xmlelement.get("resname"),
                "phase": unit.xmlelement.get("phase-name"),
                "source": "".join(unit.source_dom.itertext()),
                "target": "".join(unit.target_dom.itertext()),
                "placeholders": [child.get("id") for child in unit.target_dom],
            }
            for unit in store.units
        ],
    },
    sys.stdout,
)
