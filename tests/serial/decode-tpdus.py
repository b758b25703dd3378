# SPDX-License-Identifier: MIT
"""Decodes messages: each line has the TPDUs of one, as JSON comes out. Ends with 3 without Gammu."""
import json
import sys

try:
    import gammu
except ImportError:
    sys.exit(3)

for line in sys.stdin:
    tpdus = [bytes.fromhex(text) for text in line.split()]
    result = {"parts": []}
    header = None
    for number, tpdu in enumerate(tpdus, 1):
        part = gammu.DecodePDU(tpdu, True)
        # It counts an escape as a character, and has noise behind the end for each.
        result["parts"].append(part["Text"].split("\0")[0])
        # It knows no * and #.
        length = (tpdu[3] + 1) // 2
        swapped = "".join(f"{octet:02x}"[::-1] for octet in tpdu[5:5 + length])
        number_text = swapped.translate(str.maketrans("ab", "*#", "f"))
        result["number"] = ("+" if tpdu[4] == 0x91 else "") + number_text
        assert part["Number"] == result["number"].replace("*", "").replace("#", ""), part
        result["receipt"] = bool(tpdu[1] & 0x20)
        result["coding"] = "16" if part["Coding"].startswith("Unicode") else "7"
        udh = part["UDH"]
        if len(tpdus) > 1:
            assert udh["AllParts"] == len(tpdus) and udh["PartNumber"] == number, udh
            assert udh["ID8bit"] == 0xA5, udh
    result["text"] = "".join(result["parts"])
    print(json.dumps(result))
