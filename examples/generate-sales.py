#!/usr/bin/env python3
"""Writes examples/sales.csv: 100,000 order lines of a fictitious company, the same bytes on every run.

The numbers come from a 64-bit xorshift generator with a fixed seed, not from Python's random
module, so that the file does not depend on the Python version. Run from the repository root:

    python3 examples/generate-sales.py > examples/sales.csv
"""

import sys

ROWS = 100_000
FIRST_DAY = 16436  # 2015-01-01 as days since 1970-01-01
DAYS = 3653        # through 2024-12-31

# Region -> countries. Texts with commas, quotes and non-ASCII letters exercise the CSV quoting.
REGIONS = [
    ("North America", ["United States", "Canada", "Mexico"]),
    ("Latin America", ["Brazil", "Argentina", "Chile", "Colombia"]),
    ("Western Europe", ["Germany", "France", "United Kingdom", "España", "Italia"]),
    ("Eastern Europe", ["Polska", "Česko", "România"]),
    ("Middle East", ["Türkiye", "Israel", "United Arab Emirates"]),
    ("Africa", ["Côte d'Ivoire", "Kenya", "South Africa", "Nigeria"]),
    ("East Asia", ["Japan", "Korea, Republic of", "Taiwan"]),
    ("Oceania", ["Australia", "New Zealand"]),
]
# Product, list price.
PRODUCTS = [
    ("Atlas 13\" Laptop", 1199.00), ("Atlas 15\" Laptop", 1499.00), ("Orbit Tablet", 449.00),
    ("Orbit Tablet Pro", 799.00), ("Pulse Phone", 699.00), ("Pulse Phone Mini", 499.00),
    ("Echo Earbuds", 129.00), ("Echo Headphones", 249.00), ("Vista 27\" Monitor", 329.00),
    ("Vista 32\" Monitor", 549.00), ("Key Mechanical Keyboard", 119.00), ("Glide Mouse", 49.00),
    ("Dock USB-C Hub", 79.00), ("Volt Charger 65W", 39.00), ("Volt Power Bank", 59.00),
    ("Frame Smartwatch", 299.00), ("Lens Webcam 4K", 149.00), ("Cloud Backup (1 year)", 99.00),
    ("Care Warranty", 89.00), ("Studio Speaker", 199.00),
]
CHANNELS = ["Online", "Retail", "Partner", "Direct"]


class XorShift64:
    def __init__(self, seed):
        self.state = seed

    def next(self):
        x = self.state
        x ^= (x << 13) & 0xFFFFFFFFFFFFFFFF
        x ^= x >> 7
        x ^= (x << 17) & 0xFFFFFFFFFFFFFFFF
        self.state = x
        return x

    def below(self, n):
        return self.next() % n

    def unit(self):
        return (self.next() >> 11) / float(1 << 53)


def civil_from_days(z):
    """Year, month, day of a day count since 1970-01-01 (proleptic Gregorian)."""
    z += 719468
    era = z // 146097
    doe = z - era * 146097
    yoe = (doe - doe // 1460 + doe // 36524 - doe // 146096) // 365
    y = yoe + era * 400
    doy = doe - (365 * yoe + yoe // 4 - yoe // 100)
    mp = (5 * doy + 2) // 153
    d = doy - (153 * mp + 2) // 5 + 1
    m = mp + 3 if mp < 10 else mp - 9
    return (y + 1 if m <= 2 else y), m, d


def quoted(text):
    if any(c in text for c in ',"\n') or text in (".", "~O", "~S", "~N"):
        return '"' + text.replace('"', '""') + '"'
    return text


def main():
    rng = XorShift64(0x9E3779B97F4A7C15)
    out = sys.stdout
    out.write("OrderDate,Year,Region,Country,Product,Channel,Quantity,Revenue,Cost\n")
    for _ in range(ROWS):
        day = FIRST_DAY + rng.below(DAYS)
        year, month, dom = civil_from_days(day)
        region, countries = REGIONS[rng.below(len(REGIONS))]
        country = countries[rng.below(len(countries))]
        product, price = PRODUCTS[rng.below(len(PRODUCTS))]
        channel = CHANNELS[rng.below(len(CHANNELS))]
        quantity = 1 + rng.below(10) if rng.below(4) else 1 + rng.below(100)
        discount = rng.below(31) / 100.0
        revenue = round(price * quantity * (1.0 - discount) + 1e-9, 2)
        cost = round(price * quantity * (0.45 + 0.3 * rng.unit()) + 1e-9, 2)
        shape = rng.below(1000)
        product_text = quoted(product)
        channel_text = channel
        revenue_text = f"{revenue:.2f}"
        if shape < 5:
            revenue_text = "."          # not yet invoiced
        elif shape < 8:
            channel_text = ""           # channel not recorded
        elif shape < 10:
            product_text = "~O"         # small items booked together as all others
        out.write(f"{year:04d}-{month:02d}-{dom:02d},{year},{quoted(region)},{quoted(country)},"
                  f"{product_text},{channel_text},{quantity},{revenue_text},{cost:.2f}\n")


if __name__ == "__main__":
    main()
