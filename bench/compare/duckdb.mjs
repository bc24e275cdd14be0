// The workloads in DuckDB through its Node.js API, on the CSV file that every engine reads:
//   node duckdb.mjs --csv FILE --rows N --runs R --values 1000000 [--threads 1]
// Without --threads DuckDB uses its default (one thread per core). Results are read into
// JavaScript as a host would, so every query's answer is complete when its time is taken.
import { DuckDBInstance } from '@duckdb/node-api';

import { measure, readArguments, TIME_ZONES } from './measure.mjs';

const options = readArguments();
const rows = Number(options.rows);
const runs = Number(options.runs);
const values = Number(options.values ?? 1000000);

const instance = await DuckDBInstance.create(':memory:', options.threads ? { threads: options.threads } : {});
const connection = await instance.connect();

async function query(sql) {
    return (await connection.runAndReadAll(sql)).getRowObjectsJS();
}

const [{ version, threads }] = await query("SELECT version() AS version, current_setting('threads') AS threads");
const engine = `DuckDB ${version.replace(/^v/, '')}`;
const common = { engine, threads: Number(threads), rows, runs };

function literal(text) {
    return `'${String(text).replaceAll("'", "''")}'`;
}

await measure({ ...common, workload: 'load_csv', detail: 'CREATE TABLE AS read_csv' }, async () => {
    await connection.run(`CREATE OR REPLACE TABLE sales AS SELECT * FROM read_csv(${literal(options.csv)})`);
    return (await query('SELECT count(*) AS n FROM sales'))[0].n;
});

await measure({ ...common, workload: 'filter', detail: "count(*) WHERE region = 'East' AND sales > 500" }, async () =>
    (await query("SELECT count(*) AS n FROM sales WHERE region = 'East' AND sales > 500"))[0].n);

await measure({ ...common, workload: 'group_by', detail: 'GROUP BY region, year: sum, count' }, async () => {
    const groups = await query('SELECT region, year, sum(sales) AS s, count(sales) AS n FROM sales GROUP BY region, year');
    return groups.reduce((total, group) => total + group.s, 0);
});

const cube = 'SELECT region, year, sum(sales) AS s, count(sales) AS n, grouping(region) AS gr, grouping(year) AS gy ' +
    'FROM sales GROUP BY CUBE (region, year)';
await measure({ ...common, workload: 'crosstab', detail: 'GROUP BY CUBE (region, year): sum, count' }, async () => {
    const cells = await query(cube);
    return cells.length;
});
await measure({ ...common, workload: 'crosstab', detail: 'PIVOT ON year USING sum, count GROUP BY region (no totals)' },
    async () => {
        const table = await query('PIVOT sales ON year USING sum(sales) AS s, count(sales) AS n GROUP BY region');
        return table.length * Object.keys(table[0]).filter((name) => name.endsWith('_s')).length;
    });
await measure({ ...common, workload: 'crosstab_sorted', detail: 'CUBE ORDER BY the region total DESC' }, async () => {
    const cells = await query(`WITH cube AS (${cube}) SELECT * FROM cube ORDER BY gr, ` +
        'max(s) FILTER (WHERE gy = 1) OVER (PARTITION BY region, gr) DESC, region, gy, year');
    return cells.length;
});

await measure({ ...common, workload: 'count_distinct', detail: 'count(DISTINCT product) GROUP BY region' }, async () => {
    const groups = await query('SELECT region, count(DISTINCT product) AS n FROM sales GROUP BY region');
    return groups.reduce((total, group) => total + Number(group.n), 0);
});

// The same values as the native program formats: the first rows' dates, and those dates at a time
// of day spread over the day (row * 7919 mod 86400 seconds); the zone of value i of n is i * 20 / n.
await connection.run('CREATE OR REPLACE TABLE inputs AS SELECT rowid AS row, date AS d, ' +
    'CAST(date AS TIMESTAMP) + to_seconds((rowid * 7919) % 86400) AS ts FROM sales ' +
    `WHERE rowid < ${values} ORDER BY rowid`);
await connection.run(`CREATE OR REPLACE TABLE zones AS SELECT * FROM (VALUES ${
    TIME_ZONES.map((zone, index) => `(${index}, ${literal(zone)})`).join(', ')}) AS z(z, zone)`);
await connection.run('CREATE OR REPLACE TABLE instants AS SELECT zone, CAST(ts AS TIMESTAMPTZ) AS t FROM inputs ' +
    `JOIN zones ON zones.z = (inputs.row * 20) // ${values}`);
await connection.run("SET TimeZone = 'UTC'");

const formatting = { ...common, rows: values };
await measure({ ...formatting, workload: 'format_date', detail: "sum(length(strftime(d, '%d%b%Y')))" }, async () =>
    (await query("SELECT sum(length(strftime(d, '%d%b%Y'))) AS n FROM inputs"))[0].n);
await measure({ ...formatting, workload: 'format_datetime', detail: "sum(length(strftime(ts, '%A, %B %-d, %Y %I:%M:%S %p')))" },
    async () => (await query("SELECT sum(length(strftime(ts, '%A, %B %-d, %Y %I:%M:%S %p'))) AS n FROM inputs"))[0].n);
await measure({ ...formatting, workload: 'tz_offsets', detail: 'sum(epoch(timezone(zone, t)) - epoch(t)), ICU' },
    async () => (await query('SELECT sum(epoch(timezone(zone, t)) - epoch(t)) AS n FROM instants'))[0].n);

connection.closeSync();
