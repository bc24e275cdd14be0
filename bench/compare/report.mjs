// Turns the JSON lines of every engine into the comparison table, printed and written as Markdown:
//   node report.mjs OUTPUT.md MACHINE.txt RESULTS.jsonl...
// For each workload: the median of the runs of every engine, and how many times libPellium's
// median it is (above 1, libPellium is faster).
import { readFileSync, writeFileSync } from 'node:fs';

const [output, machineFile, ...resultFiles] = process.argv.slice(2);

// Each workload with its title and the Node.js peers that run it (a crash is reported for those).
const WORKLOADS = [
    ['load_csv', 'load the data from the CSV file', ['DuckDB', 'Perspective']],
    ['load_stream', 'load the data set from its stream form (in memory)', []],
    ['filter', "filter region = 'East' AND sales > 500, count the rows", ['DuckDB', 'Perspective']],
    ['group_by', 'group by region x year: SUM and FREQUENCY of sales', ['DuckDB', 'Perspective']],
    ['crosstab', 'crosstab region x year, SUM and FREQUENCY, with row, column and grand totals', ['DuckDB', 'Perspective']],
    ['crosstab_sorted', 'the same crosstab sorted by the SUM total descending', ['DuckDB', 'Perspective']],
    ['count_distinct', 'COUNT_DISTINCT of product per region', ['DuckDB', 'Perspective']],
    ['format_date', '{values} dates as DATE9. text', ['DuckDB']],
    ['format_datetime', '{values} date-times as DATETIME20. text', ['DuckDB']],
    ['tz_offsets', '{values} UTC offsets in 20 zones', ['DuckDB']],
];

const lines = resultFiles.flatMap((file) => readFileSync(file, 'utf8').split('\n').filter((line) => line.trim())
    .map((line) => JSON.parse(line)));
// A peer that crashed is recorded once, as workload "*": it is the result of every workload of
// the table that the peer did not report before it died.
const crashes = lines.filter((result) => result.workload === '*');
const results = lines.filter((result) => result.workload !== '*');
for (const crash of crashes) {
    for (const [workload, , peers] of WORKLOADS) {
        if (!peers.some((peer) => crash.engine.startsWith(peer))) {
            continue;
        }
        const reported = results.some((result) => result.workload === workload && result.engine === crash.engine &&
            result.threads === crash.threads);
        if (!reported) {
            results.push({ ...crash, workload });
        }
    }
}

function median(values) {
    const sorted = [...values].sort((left, right) => left - right);
    const middle = Math.floor(sorted.length / 2);
    return sorted.length % 2 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
}

const integer = new Intl.NumberFormat('en-US', { maximumFractionDigits: 0 });
const decimal = new Intl.NumberFormat('en-US', { maximumFractionDigits: 2 });

function formatMilliseconds(ms) {
    return ms >= 100 ? integer.format(ms) : ms.toPrecision(3);
}

function status(result) {
    if (result.unavailable) {
        return result.unavailable;
    }
    return result.error ? `failed: ${result.error}` : null;
}

const isPellium = (result) => result.engine === 'libPellium';
const table = [];
const summary = [];
for (const [workload, titleTemplate] of WORKLOADS) {
    const entries = results.filter((result) => result.workload === workload)
        .map((result) => ({ ...result, median: result.ms ? median(result.ms) : null }))
        .sort((left, right) => (isPellium(right) - isPellium(left)) || left.engine.localeCompare(right.engine) ||
            (right.threads - left.threads) || (left.median ?? Infinity) - (right.median ?? Infinity));
    if (entries.length === 0) {
        continue;
    }
    const pellium = entries.find((result) => isPellium(result) && result.median !== null);
    const title = titleTemplate.replace('{values}', integer.format(Math.max(...entries.map((entry) => entry.rows ?? 0))));
    table.push(`### ${title}`, '', '| engine | threads | rows | median ms | × libPellium | check | how |',
        '|---|--:|--:|--:|--:|--:|---|');
    for (const entry of entries) {
        const stopped = status(entry);
        const ratio = stopped || !pellium ? '—' : entry === pellium ? '1' : decimal.format(entry.median / pellium.median);
        const rows = entry.rows ? integer.format(entry.rows) : '';
        const check = entry.check === undefined || entry.check === null ? '' : decimal.format(entry.check);
        table.push(`| ${entry.engine} | ${entry.threads || 'default'} | ${rows} | ${stopped ?? formatMilliseconds(entry.median)}` +
            ` | ${ratio} | ${check} | ${entry.detail ?? ''} |`);
    }
    table.push('');
    const fastestPeer = entries.filter((entry) => !isPellium(entry) && entry.median !== null)
        .reduce((best, entry) => (!best || entry.median < best.median ? entry : best), null);
    const peersAhead = pellium ? entries.filter((entry) => !isPellium(entry) && entry.median !== null &&
        entry.median < pellium.median) : [];
    const describe = (entry) => `${entry.engine} (${entry.threads} thr.)`;
    // Where libPellium runs a workload in more than one way, the summary says which way is its time.
    const pelliumWays = entries.filter((entry) => isPellium(entry) && entry.median !== null).length;
    const pelliumCell = !pellium ? status(entries.find(isPellium) ?? {}) ?? '—'
        : formatMilliseconds(pellium.median) + (pelliumWays > 1 ? ` (${pellium.detail})` : '');
    const peerCell = !fastestPeer ? '—' : `${describe(fastestPeer)}: ${formatMilliseconds(fastestPeer.median)}` +
        (pellium ? ` (× ${decimal.format(fastestPeer.median / pellium.median)})` : '');
    const leads = !pellium ? '—' : peersAhead.length === 0 ? 'yes' : `no: ${peersAhead.map(describe).join(', ')}`;
    summary.push(`| ${title} | ${pelliumCell} | ${peerCell} | ${leads} |`);
}

const machine = readFileSync(machineFile, 'utf8').trim();
const document = [
    '# libPellium side by side with other engines',
    '',
    'Made by `bench/compare/run` (see [README.md](README.md)). Times are medians of the runs of each workload;',
    '"× libPellium" is the engine\'s median divided by libPellium\'s (above 1, libPellium is faster). "check" is',
    'what each run answered (a row count, a sum, a number of cells or of characters), so that engines that did',
    'the same work show the same figure; where they differ by design, README.md ("Reading the checks") says why.',
    '',
    '## Machine',
    '',
    machine,
    '',
    '## Summary',
    '',
    '| workload | libPellium ms | fastest peer: ms (× libPellium) | libPellium leads |',
    '|---|--:|---|---|',
    ...summary,
    '',
    '## Every engine',
    '',
    ...table,
].join('\n');
writeFileSync(output, document + '\n');
process.stdout.write(document + '\n');
