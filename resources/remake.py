#!/usr/bin/env python3
"""Remakes the reference data files beside this script.

Countries and currencies come from Debian's iso-codes, the words from wamerican-small; the
components are listed here. The same packages give the same files, to the byte.
"""

import json
import pathlib
import re
import unicodedata

HERE = pathlib.Path(__file__).resolve().parent
ISO_CODES = pathlib.Path("/usr/share/iso-codes/json")
WORDS = pathlib.Path("/usr/share/dict/american-english-small")

EU_MEMBERS = set(
    "AT BE BG CY CZ DE DK EE ES FI FR GR HR HU IE IT LT LU LV MT NL PL PT RO SE SI SK".split()
)

# In the list, but no money that a shop takes: metals, funds, units of account, test codes.
NO_CURRENCY = set(
    "XAG XAU XPD XPT XBA XBB XBC XBD XDR XSU XTS XUA XXX "
    "BOV CHE CHW CLF COU MXV USN UYI UYW".split()
)
# In the list, but withdrawn.
WITHDRAWN = set("CUC HRK SLL".split())

# At most five characters. A currency that is not here is shown by its code.
SYMBOLS = {
    "AFN": "؋", "ANG": "ƒ", "ARS": "$", "AUD": "$", "AWG": "ƒ", "AZN": "₼", "BAM": "KM",
    "BBD": "$", "BDT": "৳", "BGN": "лв", "BMD": "$", "BND": "$", "BOB": "Bs", "BRL": "R$",
    "BSD": "$", "BWP": "P", "BYN": "Br", "BZD": "$", "CAD": "$", "CDF": "FC", "CLP": "$",
    "CNY": "¥", "COP": "$", "CRC": "₡", "CUP": "$", "CVE": "$", "CZK": "Kč", "DJF": "Fdj",
    "DKK": "kr", "DOP": "$", "DZD": "DA", "EGP": "E£", "ERN": "Nfk", "ETB": "Br", "EUR": "€",
    "FJD": "$", "FKP": "£", "GBP": "£", "GEL": "₾", "GHS": "₵", "GIP": "£", "GMD": "D",
    "GNF": "FG", "GTQ": "Q", "GYD": "$", "HKD": "$", "HNL": "L", "HTG": "G", "HUF": "Ft",
    "IDR": "Rp", "ILS": "₪", "INR": "₹", "IRR": "﷼", "ISK": "kr", "JMD": "$", "JPY": "¥",
    "KES": "KSh", "KHR": "៛", "KMF": "CF", "KPW": "₩", "KRW": "₩", "KYD": "$", "KZT": "₸",
    "LAK": "₭", "LKR": "Rs", "LRD": "$", "LSL": "L", "MDL": "L", "MGA": "Ar", "MKD": "ден",
    "MMK": "K", "MNT": "₮", "MOP": "MOP$", "MRU": "UM", "MUR": "₨", "MVR": "Rf", "MWK": "MK",
    "MXN": "$", "MYR": "RM", "MZN": "MT", "NAD": "$", "NGN": "₦", "NIO": "C$", "NOK": "kr",
    "NPR": "Rs", "NZD": "$", "PAB": "B/.", "PEN": "S/", "PGK": "K", "PHP": "₱", "PKR": "Rs",
    "PLN": "zł", "PYG": "₲", "RON": "lei", "RSD": "дин.", "RUB": "₽", "RWF": "FRw",
    "SBD": "$", "SCR": "Rs", "SEK": "kr", "SGD": "$", "SHP": "£", "SLE": "Le", "SOS": "Sh",
    "SRD": "$", "SSP": "£", "STN": "Db", "SVC": "₡", "SYP": "£", "SZL": "E", "THB": "฿",
    "TJS": "SM", "TMT": "m", "TOP": "T$", "TRY": "₺", "TTD": "$", "TWD": "NT$", "TZS": "TSh",
    "UAH": "₴", "UGX": "USh", "USD": "$", "UYU": "$U", "VES": "Bs.", "VND": "₫", "VUV": "VT",
    "WST": "T", "XAF": "FCFA", "XCD": "$", "XOF": "CFA", "XPF": "₣", "ZAR": "R", "ZMW": "K",
    "ZWL": "$",
}

# What a component type is for; the letters of the flags:
#   a available, p published, m mandatory, l layout component, s standalone, n section (a page
#   may stand under it), c may be copied, d may be copied without its data, w widget
COMPONENTS = [
    (100, "Log In", "login", "apm snc"),
    (300, "Site Search", "search", "ap snc"),
    (400, "Text Page", "textpage", "apm sncd"),
    (500, "Text and Pictures", "textpictures", "ap sncd"),
    (600, "Picture Gallery", "gallery", "ap sncd"),
    (700, "Redirection", "redirect", "ap sc"),
    (800, "Form", "form", "ap sncd"),
    (900, "Record List", "recordlist", "ap sncd"),
    (1000, "Shop", "shop", "ap sncd"),
    (1200, "Layout", "layout", "apm lc"),
    (1300, "Site Map", "sitemap", "ap snc"),
    (1450, "Forum", "forum", "ap sncd"),
    (1500, "Site Manager", "sitemanager", "apm s"),
    (1600, "Record Page", "recordpage", "ap sncd"),
    (2300, "Search Box", "searchbox", "ap lcw"),
    (2400, "Delivery and Charges", "charges", "ap s"),
    (2600, "Data Feed", "datafeed", "ap sc"),
    (2900, "Newsletter", "newsletter", "ap sncd"),
    (3000, "Form Editor", "formeditor", "apm s"),
    (3100, "Style Editor", "styleeditor", "apm s"),
    (3600, "Query Editor", "queryeditor", "apm s"),
    (3700, "Record Table", "recordtable", "ap sncd"),
    (3900, "Statistics", "statistics", "ap s"),
    (4100, "Plain Text", "plaintext", "ap sc"),
    (4300, "Basket", "basket", "ap lcw"),
    (5600, "Server Manager", "servermanager", "ap s"),
]
FLAGS = "apmlsncdw"

COMPONENT_TYPES = {
    1: [100, 300, 400, 500, 600, 700, 800, 900, 1000, 1300, 1450, 1600, 2900, 3700, 4100],  # pages
    2: [1200],  # layouts
    3: [2300, 4300],  # widgets of a layout
    4: [1500, 2400, 3000, 3100, 3600, 3900, 5600],  # tools of a site's managers
    5: [2600],  # feeds
}


def iso(name):
    return json.loads((ISO_CODES / f"iso_{name}.json").read_text(encoding="utf-8"))[name]


def sort_key(text):
    """Alphabetical without regard to accents."""
    return unicodedata.normalize("NFKD", text).encode("ascii", "ignore").lower(), text


def countries():
    named = [(c.get("common_name", c["name"]), c) for c in iso("3166-1")]
    for name, country in sorted(named, key=lambda entry: sort_key(entry[0])):
        code = country["alpha_2"]
        yield int(country["numeric"]), name, -1 if code in EU_MEMBERS else 0, code


def currencies():
    for currency in sorted(iso("4217"), key=lambda entry: entry["alpha_3"]):
        code = currency["alpha_3"]
        if code not in NO_CURRENCY | WITHDRAWN:
            yield int(currency["numeric"]), code, SYMBOLS.get(code, code)


def words():
    listed = WORDS.read_text(encoding="utf-8").split()
    return [(word,) for word in sorted(set(listed)) if re.fullmatch("[a-z]{1,50}", word)]


def components():
    for component_id, name, folder, flags in COMPONENTS:
        yield component_id, name, folder, f"{folder}.dll", *(-(flag in flags) for flag in FLAGS)


def component_types():
    return [(kind, member) for kind, members in COMPONENT_TYPES.items() for member in members]


def write(table, rows):
    lines = ["\t".join(str(field) for field in row) + "\n" for row in rows]
    (HERE / f"{table}Data.txt").write_text("".join(lines), encoding="utf-8", newline="\n")
    print(f"{table}Data.txt: {len(lines)} rows")


if __name__ == "__main__":
    write("country", countries())
    write("currency", currencies())
    write("englishword", words())
    write("component", components())
    write("componenttype", component_types())
