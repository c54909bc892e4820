import { spawn } from 'node:child_process';
import { cp, mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { afterEach, beforeEach } from 'node:test';
import { fileURLToPath } from 'node:url';

/** The host as a process, over a directory of its own. */

const program = process.env.TAVO_PROGRAM ?? fileURLToPath(new URL('../../../build/dev/bin/tavo', import.meta.url));
// Not the configuration of the person who runs the tests.
const config = fileURLToPath(new URL('../../data/config', import.meta.url));
const demo = fileURLToPath(new URL('../../../demo', import.meta.url));

/** A temporary directory with a copy of the demo tree, `music`, which goes away with `remove`. */
export async function temporaryTree() {
    const directory = await mkdtemp(join(tmpdir(), 'tavo-web-'));
    const music = join(directory, 'Music');
    await cp(demo, music, { recursive: true });
    return { directory, music, remove: () => rm(directory, { recursive: true, force: true }) };
}

/**
 * Starts the host and waits until it serves.
 * @param {{ directory: string, music: string }} tree
 * @param {{ port?: number, options?: string[] }} [how]
 */
export async function serve(tree, { port = 0, options = [] } = {}) {
    const state = join(tree.directory, 'state');
    const args = ['--root', tree.music, 'serve', '--listen', `127.0.0.1:${port}`, '--state', state, ...options];
    const child = spawn(program, args, { stdio: ['ignore', 'pipe', 'inherit'], env: { ...process.env, XDG_CONFIG_HOME: config } });
    const address = await addressOf(child);
    return { address, port: Number(new URL(address).port), stop: (/** @type {NodeJS.Signals} */ signal = 'SIGTERM') => stop(child, signal) };
}

/** A temporary tree and a host that serves it, new for each test of the file. A test may replace the host. */
export function servedForEachTest() {
    const served = /** @type {{ tree: Awaited<ReturnType<typeof temporaryTree>>, host: Awaited<ReturnType<typeof serve>> }} */ ({});
    beforeEach(async () => {
        served.tree = await temporaryTree();
        served.host = await serve(served.tree);
    });
    afterEach(async () => {
        await served.host.stop();
        await served.tree.remove();
    });
    return served;
}

/**
 * @param {import('node:child_process').ChildProcess} child
 * @returns {Promise<string>}
 */
function addressOf(child) {
    return new Promise((resolve, reject) => {
        let output = '';
        child.stdout?.setEncoding('utf8').on('data', (text) => {
            output += text;
            const [, address] = / at (http:\S+)\n/.exec(output) ?? [];
            if (address) resolve(address);
        });
        child.once('exit', (status) => reject(new Error(`the host ended with ${status}`)));
    });
}

/**
 * @param {import('node:child_process').ChildProcess} child
 * @param {NodeJS.Signals} signal
 */
async function stop(child, signal) {
    if (child.exitCode !== null || child.signalCode !== null) return;
    const ended = new Promise((resolve) => child.once('exit', resolve));
    child.kill(signal);
    await ended;
}
