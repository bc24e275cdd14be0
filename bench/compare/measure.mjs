// What the Node.js peers of the comparison share: reading the arguments and timing a workload into
// the same JSON lines as the native program writes (see Report.h).
import { performance } from 'node:perf_hooks';

/** The options `--name value` of the command line as an object of texts. */
export function readArguments(argv = process.argv.slice(2)) {
    const options = {};
    for (let index = 0; index + 1 < argv.length; index += 2) {
        if (!argv[index].startsWith('--')) {
            throw new Error(`unexpected argument ${argv[index]}`);
        }
        options[argv[index].slice(2)] = argv[index + 1];
    }
    return options;
}

function writeLine(fields) {
    process.stdout.write(JSON.stringify(fields) + '\n');
}

/**
 * Runs `run` (async, answering a check value) `runs` times and writes one line with the times in
 * milliseconds; a failure is written as the line's error, and the other workloads go on.
 */
export async function measure({ workload, engine, detail, threads, rows, runs }, run) {
    const ms = [];
    let check = null;
    try {
        for (let index = 0; index < runs; ++index) {
            const start = performance.now();
            check = await run();
            ms.push(Number((performance.now() - start).toFixed(3)));
        }
    } catch (error) {
        writeLine({ workload, engine, threads, detail, rows, error: String(error?.message ?? error) });
        return;
    }
    writeLine({ workload, engine, threads, detail, rows, ms, check: Number(check) });
}

/** Writes that `engine` cannot run `workload`, and why. */
export function unavailable({ workload, engine, threads }, reason) {
    writeLine({ workload, engine, threads, unavailable: reason });
}

/** The zones of the time-zone workload, in the order of SalesData::TIME_ZONES. */
export const TIME_ZONES = [
    'America/New_York', 'Europe/Berlin', 'Asia/Tokyo', 'Australia/Sydney', 'America/Sao_Paulo',
    'Asia/Kolkata', 'Africa/Cairo', 'Europe/London', 'America/Los_Angeles', 'Asia/Shanghai',
    'Europe/Moscow', 'America/Chicago', 'Pacific/Auckland', 'Asia/Tehran', 'America/Santiago',
    'Africa/Casablanca', 'Europe/Dublin', 'Australia/Lord_Howe', 'America/St_Johns', 'Asia/Jerusalem',
];
