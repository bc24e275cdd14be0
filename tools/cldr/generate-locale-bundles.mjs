#!/usr/bin/env node
// Builds the locale bundles of the formatters from the Unicode CLDR JSON packages:
//   assets/localization/vek_portable_formatters_<locale>.properties
//   assets/localization/AllCurrencySymbols_<locale>.properties
// See tools/cldr/README.md for how to run it. The en_US bundles are written by hand and are the
// base every other locale falls back to; this tool reads them and never writes them.
//
// A language bundle ("de") holds every generated key; a region bundle ("de_CH") holds only what
// differs from what its fallback chain (de_CH -> de -> en_US) would give. A new family of keys
// (for example the date patterns) is one more producer in `producers` below.

import fs from 'node:fs';
import path from 'node:path';
import process from 'node:process';

const CLDR_VERSION = '42';

// The locales shipped, as the library spells them. Each language is followed by its regions.
const LOCALES = {
    ar: ['ar_SA', 'ar_AE', 'ar_EG'],
    he: ['he_IL'],
    fa: ['fa_IR'],
    cs: ['cs_CZ'],
    da: ['da_DK'],
    de: ['de_DE', 'de_AT', 'de_CH'],
    el: ['el_GR'],
    en: ['en_GB', 'en_AU', 'en_CA', 'en_IN'],
    es: ['es_ES', 'es_MX', 'es_AR'],
    fi: ['fi_FI'],
    fr: ['fr_FR', 'fr_CA', 'fr_CH', 'fr_BE'],
    hi: ['hi_IN'],
    hu: ['hu_HU'],
    id: ['id_ID'],
    it: ['it_IT'],
    ja: ['ja_JP'],
    ko: ['ko_KR'],
    nb: ['nb_NO'],
    nl: ['nl_NL', 'nl_BE'],
    pl: ['pl_PL'],
    pt: ['pt_BR', 'pt_PT'],
    ro: ['ro_RO'],
    ru: ['ru_RU'],
    sv: ['sv_SE'],
    th: ['th_TH'],
    tr: ['tr_TR'],
    uk: ['uk_UA'],
    zh: ['zh_CN', 'zh_TW'],
};
// Languages whose en_US bundle stands in for the language bundle: no "en" file is written.
const BASE_LANGUAGES = new Set(['en']);

const FORMATTER_BUNDLE = 'vek_portable_formatters';
const CURRENCY_BUNDLE = 'AllCurrencySymbols';
const BASE_LOCALE = 'en_US';
const DAY_KEYS = ['sun', 'mon', 'tue', 'wed', 'thu', 'fri', 'sat'];

// --- Command line --------------------------------------------------------------------------------

function parseArguments(argv) {
    const options = {cldr: null, out: null, check: false};
    for (let index = 0; index < argv.length; ++index) {
        const argument = argv[index];
        if (argument === '--cldr') options.cldr = argv[++index];
        else if (argument === '--out') options.out = argv[++index];
        else if (argument === '--check') options.check = true;
        else fail(`unknown argument ${argument}`);
    }
    if (!options.cldr || !options.out) {
        fail('usage: generate-locale-bundles.mjs --cldr <folder with node_modules> --out <assets/localization> [--check]');
    }
    return options;
}

function fail(message) {
    console.error(`generate-locale-bundles: ${message}`);
    process.exit(1);
}

// --- CLDR access ---------------------------------------------------------------------------------

class Cldr {
    constructor(root) {
        this.modules = path.join(root, 'node_modules');
        const core = this.readJson('cldr-core', 'supplemental', 'likelySubtags.json');
        this.likely = core.supplemental.likelySubtags;
        this.week = this.readJson('cldr-core', 'supplemental', 'weekData.json').supplemental.weekData;
        this.currencyRegions = this.readJson('cldr-core', 'supplemental', 'currencyData.json').supplemental.currencyData.region;
        const version = this.readJson('cldr-core', 'package.json').version;
        if (!version.startsWith(`${CLDR_VERSION}.`)) fail(`cldr-core ${version} found, ${CLDR_VERSION}.x.x required`);
    }

    readJson(...parts) {
        const file = path.join(this.modules, ...parts);
        if (!fs.existsSync(file)) fail(`missing ${file}; install the CLDR packages first (see tools/cldr/README.md)`);
        return JSON.parse(fs.readFileSync(file, 'utf8'));
    }

    hasLocale(id) { return fs.existsSync(path.join(this.modules, 'cldr-numbers-full', 'main', id)); }

    // "zh_TW" -> "zh-Hant" (the CLDR folder that holds its data); "de_DE" -> "de".
    resolveId(locale) {
        const [language, region] = locale.split('_');
        const maximal = (this.likely[region ? `${language}-${region}` : language] ?? this.likely[language]).split('-');
        const script = maximal[1];
        const candidates = region
            ? [`${language}-${region}`, `${language}-${script}-${region}`]
            : [language];
        for (const candidate of candidates) {
            if (this.hasLocale(candidate)) return candidate;
        }
        // Default content: the region is the likely one of the script or of the language.
        for (const parent of [`${language}-${script}`, language]) {
            const likely = this.likely[parent];
            if (this.hasLocale(parent) && likely && likely.endsWith(`-${region}`)) return parent;
        }
        fail(`no CLDR data for ${locale}`);
    }

    // The region whose week and currency a locale takes: its own, else the language's likely one.
    regionOf(locale) {
        const [language, region] = locale.split('_');
        return region ?? this.likely[language].split('-').pop();
    }

    numbers(id) { return this.readJson('cldr-numbers-full', 'main', id, 'numbers.json').main[id].numbers; }
    currencies(id) { return this.readJson('cldr-numbers-full', 'main', id, 'currencies.json').main[id].numbers.currencies; }
    gregorian(id) {
        return this.readJson('cldr-dates-full', 'main', id, 'ca-gregorian.json').main[id].dates.calendars.gregorian;
    }

    // The currency a region uses today: the last tender entry without an end date.
    currencyOfRegion(region) {
        const entries = this.currencyRegions[region] ?? [];
        const current = entries
            .map((entry) => Object.entries(entry)[0])
            .filter(([, data]) => !data._to && data._tender !== 'false');
        return current.length ? current[current.length - 1][0] : null;
    }
}

// --- Producers: each returns [key, value] pairs of one family of keys ------------------------------

// The texts of the pattern letter "a": the wide format forms, which date formats write (ICU's
// AmPmMarkers; the abbreviated forms differ in Thai and Persian, and in spacing in Spanish).
function dayPeriodKeys(cldr, locale) {
    const periods = cldr.gregorian(cldr.resolveId(locale)).dayPeriods.format.wide;
    return [['am', periods.am], ['pm', periods.pm]];
}

function weekKeys(cldr, locale) {
    const region = cldr.regionOf(locale);
    const firstDay = cldr.week.firstDay[region] ?? cldr.week.firstDay['001'];
    const minDays = cldr.week.minDays[region] ?? cldr.week.minDays['001'];
    return [
        ['firstDayOfWeek', String(DAY_KEYS.indexOf(firstDay))],
        ['minimalDaysInFirstWeek', String(minDays)],
    ];
}

function isDigitOnly(text) { return /^\p{Nd}+$/u.test(text); }

// Month, weekday, quarter and era names, the stand-alone names included (en_US has them all, so
// every language bundle must too, or the English ones would show through).
function calendarKeys(cldr, locale) {
    const calendar = cldr.gregorian(cldr.resolveId(locale));
    const pairs = [];
    const widths = ['wide', 'abbreviated', 'narrow'];
    for (const context of ['format', 'stand-alone']) {
        const prefix = context === 'format' ? '' : 'standalone.';
        for (const width of widths) {
            for (let month = 1; month <= 12; ++month) {
                pairs.push([`month.${prefix}${width}.${month}`, calendar.months[context][width][month]]);
            }
        }
        for (const width of ['wide', 'abbreviated', 'short', 'narrow']) {
            DAY_KEYS.forEach((day, index) => pairs.push([`day.${prefix}${width}.${index}`, calendar.days[context][width][day]]));
        }
        for (const width of widths) {
            for (let quarter = 1; quarter <= 4; ++quarter) {
                const name = calendar.quarters[context][width][quarter];
                // The library writes European digits; a narrow quarter that is a native digit
                // would be the only one, so such locales keep the base's "1" to "4".
                if (width === 'narrow' && isDigitOnly(name) && !/^[0-9]+$/.test(name)) continue;
                pairs.push([`quarter.${prefix}${width}.${quarter}`, name]);
            }
        }
    }
    const eras = {wide: 'eraNames', abbreviated: 'eraAbbr', narrow: 'eraNarrow'};
    for (const [width, field] of Object.entries(eras)) {
        for (const era of [0, 1]) pairs.push([`era.${width}.${era}`, calendar.eras[field][era]]);
    }
    return pairs;
}

// Number symbols of the Latin numbering system (the library writes European digits everywhere)
// and the standard number, percent and currency patterns.
function numberKeys(cldr, locale) {
    const numbers = cldr.numbers(cldr.resolveId(locale));
    const symbols = numbers['symbols-numberSystem-latn'];
    const positive = (pattern) => pattern.split(';')[0];
    return [
        ['decimalSeparator', symbols.decimal],
        ['groupingSeparator', symbols.group],
        ['percentSign', symbols.percentSign],
        ['perMilleSign', symbols.perMille],
        ['plusSign', symbols.plusSign],
        ['negativeSign', symbols.minusSign],
        ['exponentSeparator', symbols.exponential],
        ['infinity', symbols.infinity],
        ['nan', symbols.nan],
        ['decimalPattern', positive(numbers['decimalFormats-numberSystem-latn'].standard)],
        ['percentPattern', positive(numbers['percentFormats-numberSystem-latn'].standard)],
        ['currencyPattern', positive(numbers['currencyFormats-numberSystem-latn'].standard)],
        ['minimumGroupingDigits', String(numbers.minimumGroupingDigits)],
    ];
}

// --- Date and time patterns ------------------------------------------------------------------------
//
// Each en_US pattern key stands for a skeleton: the fields it shows and their lengths. A locale's
// pattern is CLDR's available format for that skeleton (or, for a full or long date, the
// locale's date format of that length), with the lengths of its fields set to those the key asks
// for as far as they are of the same kind (numeric or text): "ddMMMyyyy" asks for a two-digit
// day and a four-digit year, so German "d. MMM y" becomes "dd. MMM yyyy". Times follow the
// locale's hour cycle ("h" or "H" as in its short time format), with two-digit hours as the keys
// have them, a generic zone ("v") becomes the library's "zzz", and flexible day periods ("B",
// Traditional Chinese) become am and pm ("a"). Date-times join a date and a
// time with the locale's date-time format of the matching length. Keys whose fields are names
// alone (ccc, LLLL) or that belong to the Hebrew calendar keep the en_US text.

const DATE_RECIPES = {
    'date.0': {formats: ['MMMd'], lengths: {d: 2}},
    'date.1': {formats: ['yMMMd'], lengths: {y: 2, d: 2}},
    'date.2': {formats: ['yMMMd'], lengths: {y: 4, d: 2}},
    'date.3': {formats: ['yMMMd'], lengths: {y: 4, d: 2}},
    'datetime.0': {formats: ['yMd'], lengths: {y: 2, M: 2, d: 2}, time: 'hm', join: 'short'},
    'datetime.1': {formats: ['yMMMd'], lengths: {y: 4}, time: 'hm', join: 'medium'},
    'datetime.2': {formats: ['yMMMMd', 'long'], lengths: {y: 4}, time: 'hms', join: 'long'},
    'datetime.3': {formats: ['full'], lengths: {y: 4}, time: 'hms', join: 'full'},
    'time.0': {formats: ['H'], lengths: {h: 2}},
    'time.1': {formats: ['hm'], lengths: {h: 2}},
    'time.2': {formats: ['hms'], lengths: {h: 2}},
    'time.3': {formats: ['hmsv'], lengths: {h: 2}},
    'weekdate.2': {formats: ['yMMMEd'], lengths: {y: 2}},
    'weekdate.3': {formats: ['full'], lengths: {y: 4}},
    'worddate.2': {formats: ['yMMMd'], lengths: {y: 4}},
    'worddate.3': {formats: ['yMMMMd', 'long'], lengths: {y: 4}},
    'monyy.0': {formats: ['yMMM'], lengths: {y: 2}},
    'monyy.1': {formats: ['yMMM'], lengths: {y: 4}},
    'monyy.2': {formats: ['yMMMM'], lengths: {y: 4}},
    'quarteryear.0': {formats: ['yQQQ'], lengths: {y: 2}},
    'quarteryear.1': {formats: ['yQQQQ'], lengths: {y: 4}},
    'year.0': {formats: ['y'], lengths: {y: 2}},
    'year.1': {formats: ['y'], lengths: {y: 4}},
    'mmddyy.0': {formats: ['yMd'], lengths: {y: 2, M: 2, d: 2}},
    'mmddyy.1': {formats: ['yMd'], lengths: {y: 4, M: 2, d: 2}},
    'day.0': {formats: ['d'], lengths: {}},
    'monname.0': {formats: ['M'], lengths: {}},
    'monname.1': {formats: ['MMM'], lengths: {}},
};
const PATTERN_KEYS = new Set(Object.keys(DATE_RECIPES));

// The letters the library's date patterns render; a pattern with any other is not used.
const RENDERED_LETTERS = /^[GyQqMLwDdEceaHhKkmsSz]$/;
const TEXT_FORM_LETTERS = new Set(['M', 'L', 'Q', 'q', 'E', 'c', 'e']);

// Calls `onField(letter, length)` for each field run and `onText(text)` for everything else,
// quoted text included as written.
function scanPattern(pattern, onField, onText) {
    let position = 0;
    while (position < pattern.length) {
        const character = pattern[position];
        if (character === "'") {
            let end = position + 1;
            while (end < pattern.length) {
                if (pattern[end] === "'") {
                    if (pattern[end + 1] === "'") { end += 2; continue; }
                    break;
                }
                ++end;
            }
            onText(pattern.slice(position, end + 1));
            position = end + 1;
        } else if (/[A-Za-z]/.test(character)) {
            let end = position;
            while (end < pattern.length && pattern[end] === character) ++end;
            onField(character, end - position);
            position = end;
        } else {
            onText(character);
            ++position;
        }
    }
}

function adjustPattern(pattern, lengths) {
    let adjusted = '';
    let renderable = true;
    scanPattern(pattern, (letter, length) => {
        if (letter === 'v' || letter === 'z') { adjusted += 'zzz'; return; }
        // Flexible day periods ("B": morning, noon, evening) are written as am and pm.
        if (letter === 'B') { adjusted += 'a'; return; }
        const kind = 'hHKk'.includes(letter) ? 'h' : letter;
        let wanted = lengths[kind] ?? length;
        // Numeric and text forms stay what the locale chose ("M月" stays numeric in Japanese).
        if (TEXT_FORM_LETTERS.has(letter) && (length <= 2) !== (wanted <= 2)) wanted = length;
        if (!RENDERED_LETTERS.test(letter)) renderable = false;
        adjusted += letter.repeat(wanted);
    }, (text) => { adjusted += text; });
    return renderable ? adjusted : null;
}

function usesTwentyFourHours(calendar) {
    let twentyFour = false;
    scanPattern(calendar.timeFormats.short, (letter) => { if (letter === 'H' || letter === 'k') twentyFour = true; }, () => {});
    return twentyFour;
}

function findFormat(calendar, names, twentyFour) {
    const available = calendar.dateTimeFormats.availableFormats;
    for (const name of names) {
        if (['full', 'long', 'medium', 'short'].includes(name)) return calendar.dateFormats[name];
        const skeleton = twentyFour && /^h/.test(name) ? 'H' + name.slice(1) : name;
        if (available[skeleton]) return available[skeleton];
    }
    return null;
}

function patternKeys(cldr, locale) {
    const calendar = cldr.gregorian(cldr.resolveId(locale));
    const twentyFour = usesTwentyFourHours(calendar);
    const pairs = [];
    for (const [key, recipe] of Object.entries(DATE_RECIPES)) {
        const found = findFormat(calendar, recipe.formats, twentyFour);
        let pattern = found && adjustPattern(found, recipe.lengths);
        if (pattern && recipe.time) {
            const time = findFormat(calendar, [recipe.time], twentyFour);
            const timePattern = time && adjustPattern(time, {h: 2});
            const join = calendar.dateTimeFormats[recipe.join];
            pattern = timePattern ? join.replace('{1}', pattern).replace('{0}', timePattern) : null;
        }
        if (pattern) pairs.push([key, pattern]);
        else process.stderr.write(`${locale}: ${key} keeps the en_US pattern\n`);
    }
    return pairs;
}

const producers = [dayPeriodKeys, weekKeys, calendarKeys, numberKeys, patternKeys];

// --- Properties files ----------------------------------------------------------------------------

function readProperties(file) {
    const entries = new Map();
    for (const rawLine of fs.readFileSync(file, 'utf8').split(/\r?\n/)) {
        const line = rawLine.trimStart();
        if (!line || line.startsWith('#') || line.startsWith('!')) continue;
        const separator = line.search(/[=:]/);
        if (separator < 0) continue;
        const key = line.slice(0, separator).trim();
        const value = line.slice(separator + 1).replace(/^[ \t]+/, '')
            .replace(/\\u([0-9A-Fa-f]{4})/g, (_, hex) => String.fromCharCode(parseInt(hex, 16)))
            .replace(/\\(.)/g, '$1');
        entries.set(key, value);
    }
    return entries;
}

const NUMBER_KEYS = new Set(['decimalSeparator', 'groupingSeparator', 'percentSign', 'perMilleSign', 'plusSign',
    'negativeSign', 'exponentSeparator', 'infinity', 'nan', 'decimalPattern', 'percentPattern', 'currencyPattern',
    'minimumGroupingDigits']);

// Invisible and space characters are written as \u escapes, so a reader sees them; so is every
// non-ASCII character of the number keys, where a no-break space and a space look alike.
function escapeValue(key, value) {
    const numeric = NUMBER_KEYS.has(key) && key !== 'nan';
    let out = '';
    for (const character of value) {
        const code = character.codePointAt(0);
        const invisible = /[\p{Cf}\p{Z}\p{Cc}]/u.test(character) && character !== ' ';
        if (code > 0xffff) {
            out += character;
        } else if (invisible || (numeric && code > 0x7e) || character === '\\') {
            out += `\\u${code.toString(16).toUpperCase().padStart(4, '0')}`;
        } else {
            out += character;
        }
    }
    return out.startsWith(' ') ? `\\${out}` : out;
}
// The value a chain of bundles gives for `key`.
function lookup(chain, key) {
    for (const bundle of chain) {
        if (bundle.has(key)) return bundle.get(key);
    }
    return undefined;
}

// The entries a bundle must hold so that it, followed by `parents`, gives every generated value.
function entriesToWrite(generated, parents) {
    return new Map(generated.filter(([key, value]) => lookup(parents, key) !== value));
}

// Keys are written in the order the producers made them, one blank line between groups.
function groupOf(key) {
    if (NUMBER_KEYS.has(key)) return 'number';
    if (PATTERN_KEYS.has(key)) return 'pattern';
    if (['am', 'pm', 'firstDayOfWeek', 'minimalDaysInFirstWeek'].includes(key)) return 'day';
    return key.split('.')[0];
}

function render(header, entries, order) {
    let text = header.map((line) => (line ? `# ${line}` : '#')).join('\n') + '\n';
    let previousGroup = null;
    for (const [key] of order) {
        if (!entries.has(key)) continue;
        const group = groupOf(key);
        if (group !== previousGroup) text += '\n';
        text += `${key}=${escapeValue(key, entries.get(key))}\n`;
        previousGroup = group;
    }
    return text;
}

function languageHeader(locale) {
    return [
        `Vocabulary of the date, time and number formatters, ${locale}. Generated by tools/cldr from`,
        `CLDR ${CLDR_VERSION}; do not edit. The keys are those of the en_US file; a key not given here is`,
        'taken from en_US. Number symbols are those of the Latin numbering system (European digits).',
    ];
}
function regionHeader(locale, language) {
    return [
        `Vocabulary of the formatters, ${locale}: only what differs from "${language}". Generated by`,
        `tools/cldr from CLDR ${CLDR_VERSION}; do not edit.`,
    ];
}

// --- Main ----------------------------------------------------------------------------------------

function main() {
    const options = parseArguments(process.argv.slice(2));
    const cldr = new Cldr(options.cldr);
    const outDir = options.out;
    const base = readProperties(path.join(outDir, `${FORMATTER_BUNDLE}_${BASE_LOCALE}.properties`));
    const currencyBase = readProperties(path.join(outDir, `${CURRENCY_BUNDLE}_${BASE_LOCALE}.properties`));
    const outputs = new Map();  // file name -> text
    let problems = 0;

    const generate = (locale) => producers.flatMap((producer) => producer(cldr, locale));
    for (const [language, regions] of Object.entries(LOCALES)) {
        let parents = [base];
        if (!BASE_LANGUAGES.has(language)) {
            const generated = generate(language);
            const own = entriesToWrite(generated, []);
            outputs.set(`${FORMATTER_BUNDLE}_${language}.properties`, render(languageHeader(language), own, generated));
            parents = [own, base];
        }
        for (const region of regions) {
            const generated = generate(region);
            const own = entriesToWrite(generated, parents);
            const header = BASE_LANGUAGES.has(language) ? regionHeader(region, BASE_LOCALE) : regionHeader(region, language);
            outputs.set(`${FORMATTER_BUNDLE}_${region}.properties`, render(header, own, generated));

            // The currency: its code is kept by hand in the en_US file; check it against CLDR and
            // write the symbol the locale itself uses where it differs from the home-country form.
            const code = currencyBase.get(`currencyCode.${region}`);
            const cldrCode = cldr.currencyOfRegion(cldr.regionOf(region));
            if (!code) {
                console.error(`${region}: add currencyCode.${region}=${cldrCode} to ${CURRENCY_BUNDLE}_${BASE_LOCALE}`);
                ++problems;
                continue;
            }
            if (code !== cldrCode) console.warn(`${region}: currencyCode is ${code}, CLDR says ${cldrCode}`);
            const symbol = cldr.currencies(cldr.resolveId(region))[code]?.symbol;
            if (symbol && symbol !== currencyBase.get(`currencySymbol.${code}`)) {
                const key = `currencySymbol.${code}`;
                outputs.set(`${CURRENCY_BUNDLE}_${region}.properties`, render([
                    `The symbol of ${code} as ${region} writes it, where it differs from the form in`,
                    `${CURRENCY_BUNDLE}_${BASE_LOCALE}. Generated by tools/cldr from CLDR ${CLDR_VERSION}; do not edit.`,
                ], new Map([[key, symbol]]), [[key]]));
            }
        }
    }

    // Generated files that are no longer produced are removed, so a dropped locale leaves nothing.
    const generatedMark = 'Generated by tools/cldr';
    const stale = fs.readdirSync(outDir).filter((name) => !outputs.has(name) &&
        fs.readFileSync(path.join(outDir, name), 'utf8').includes(generatedMark));

    if (options.check) {
        for (const [name, text] of outputs) {
            const file = path.join(outDir, name);
            if (!fs.existsSync(file) || fs.readFileSync(file, 'utf8') !== text) {
                console.error(`${name} is out of date`);
                ++problems;
            }
        }
        stale.forEach((name) => { console.error(`${name} is no longer generated`); ++problems; });
    } else {
        for (const [name, text] of outputs) fs.writeFileSync(path.join(outDir, name), text);
        stale.forEach((name) => fs.unlinkSync(path.join(outDir, name)));
        console.log(`wrote ${outputs.size} files, removed ${stale.length}`);
    }
    process.exit(problems ? 1 : 0);
}

main();
