// The workloads in Perspective through its Node.js build, on a CSV file of the same rows:
//   node perspective.mjs --csv FILE --rows N --runs R
// Perspective's Node.js build is 32-bit WebAssembly on one thread; its memory cannot pass 2 GiB,
// which a pivot of 10,000,000 rows does, so the run script gives it the first 5,000,000 rows. Each
// view is made, read in full (as a grid would show it) and deleted in every run.
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';

import perspective from '@finos/perspective';

import { measure, readArguments, unavailable } from './measure.mjs';

const options = readArguments();
const rows = Number(options.rows);
const runs = Number(options.runs);
const { version } = createRequire(import.meta.url)('@finos/perspective/package.json');
const common = { engine: `Perspective ${version}`, threads: 1, rows, runs };

let table = null;
await measure({ ...common, workload: 'load_csv', detail: 'readFileSync + table(csv text)' }, async () => {
    if (table) {
        await table.delete();
    }
    table = await perspective.table(readFileSync(options.csv, 'utf8'));
    return table.size();
});
if (!table) {
    process.exit(0);
}

/** Makes a view of `config`, reads it, deletes it, and answers what `check` makes of the columns. */
async function withView(config, check) {
    const view = await table.view(config);
    try {
        return check(await view.to_columns());
    } finally {
        await view.delete();
    }
}

const sumOf = (numbers) => numbers.reduce((total, value) => total + (value ?? 0), 0);

await measure({ ...common, workload: 'filter', detail: 'view filter, num_rows' }, async () => {
    const view = await table.view({ columns: ['sales'], filter: [['region', '==', 'East'], ['sales', '>', 500]] });
    try {
        return await view.num_rows();
    } finally {
        await view.delete();
    }
});

// Two measures as the others have them: sum of sales and the count of sales (an expression
// column, since one column takes one aggregate).
const crosstab = {
    group_by: ['region'],
    split_by: ['year'],
    expressions: { sales_frequency: '"sales"' },
    columns: ['sales', 'sales_frequency'],
    aggregates: { sales: 'sum', sales_frequency: 'count' },
};
const sumCells = (columns) => Object.keys(columns).filter((name) => name.endsWith('|sales'));

await measure({ ...common, workload: 'group_by', detail: 'group_by region, split_by year: sum, count' }, async () =>
    withView(crosstab, (columns) => sumOf(sumCells(columns).map((name) => columns[name][0]))));
await measure({ ...common, workload: 'crosstab', detail: 'group_by + split_by, to_columns (column totals only)' },
    async () => withView(crosstab, (columns) => columns.__ROW_PATH__.length * sumCells(columns).length));
await measure({ ...common, workload: 'crosstab_sorted', detail: 'the same with sort sales desc' }, async () =>
    withView({ ...crosstab, sort: [['sales', 'desc']] },
        (columns) => columns.__ROW_PATH__.length * sumCells(columns).length));
await measure({ ...common, workload: 'count_distinct', detail: 'group_by region: distinct count of product' },
    async () => withView({ group_by: ['region'], columns: ['product'], aggregates: { product: 'distinct count' } },
        (columns) => sumOf(columns.product.slice(1))));

for (const workload of ['format_date', 'format_datetime', 'tz_offsets']) {
    unavailable({ ...common, workload }, 'no date formatting or time-zone function in its views');
}
await table.delete();
process.exit(0);
