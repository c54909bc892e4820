/**
 * Serves the page's scripts and styles, and sounds and covers whose names say what they are: `440 Hz 2000 ms.wav` is two
 * seconds of that tone, `broken.wav` no sound at all, and everything else is not there.
 */

import { readFile } from 'node:fs/promises';
import { createServer } from 'node:http';
import { extname } from 'node:path';

import { picture, tone } from './sounds.js';

const repository = new URL('../../../', import.meta.url);
const page = '/tests/web/support/player.html';
const served = ['/web/app/', '/tests/web/support/'];
const types = { '.js': 'text/javascript', '.css': 'text/css', '.html': 'text/html' };
const policy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; media-src 'self'; connect-src 'self'; " +
    "require-trusted-types-for 'script'";

export class PageServer {
    /** Paths of all requests. @type {string[]} */
    requests = [];

    /** Whether sounds can be reached. */
    reachable = true;

    /** Each sound takes so many ms to come. */
    delay = 0;

    /** Where the page is, once the server listens. */
    address = '';

    #server = createServer((request, response) => void this.#answer(request, response));

    async listen() {
        await new Promise((resolve) => this.#server.listen(0, '127.0.0.1', () => resolve(null)));
        const { port } = /** @type {import('node:net').AddressInfo} */ (this.#server.address());
        this.address = `http://127.0.0.1:${port}${page}`;
    }

    close() {
        this.#server.closeAllConnections();
        return new Promise((resolve) => this.#server.close(resolve));
    }

    /**
     * @param {import('node:http').IncomingMessage} request
     * @param {import('node:http').ServerResponse} response
     */
    async #answer(request, response) {
        const url = new URL(request.url ?? '/', 'http://localhost');
        const path = decodeURIComponent(url.pathname);
        this.requests.push(`${request.method} ${path}`);
        if (path.includes('/media/')) setTimeout(() => this.#answerSound(path, request, response), this.delay);
        else if (path.includes('/cover/')) answerCover(path, Number(url.searchParams.get('width')), response);
        else await answerFile(path, response);
    }

    /**
     * @param {string} path
     * @param {import('node:http').IncomingMessage} request
     * @param {import('node:http').ServerResponse} response
     */
    #answerSound(path, request, response) {
        const sound = soundOf(path);
        if (!this.reachable) response.destroy();
        else if (sound) answerRange(sound, request, response);
        else response.writeHead(404).end();
    }
}

/** @type {Map<string, Buffer | null>} */
const sounds = new Map();

/** @param {string} path */
function soundOf(path) {
    if (!sounds.has(path)) {
        const [, frequency, milliseconds] = /(\d+) Hz (\d+) ms.wav$/.exec(path) ?? [];
        const broken = path.endsWith('/broken.wav') ? Buffer.from('no sound') : null;
        sounds.set(path, frequency ? tone(Number(frequency), Number(milliseconds)) : broken);
    }
    return sounds.get(path);
}

/**
 * @param {Buffer} body
 * @param {import('node:http').IncomingMessage} request
 * @param {import('node:http').ServerResponse} response
 */
function answerRange(body, request, response) {
    const range = /^bytes=(\d+)-(\d*)$/.exec(request.headers.range ?? '');
    const first = range ? Number(range[1]) : 0;
    const last = range?.[2] ? Math.min(Number(range[2]), body.length - 1) : body.length - 1;
    response.writeHead(range ? 206 : 200, {
        'Accept-Ranges': 'bytes',
        'Content-Type': 'audio/wav',
        'Content-Length': last - first + 1,
        ...(range ? { 'Content-Range': `bytes ${first}-${last}/${body.length}` } : {}),
    });
    response.end(request.method === 'HEAD' ? undefined : body.subarray(first, last + 1));
}

/**
 * @param {string} path
 * @param {number} width
 * @param {import('node:http').ServerResponse} response
 */
function answerCover(path, width, response) {
    const seed = [...path].reduce((sum, letter) => (sum * 31 + letter.charCodeAt(0)) % 9973, 7);
    if (path.includes('without cover')) response.writeHead(404).end();
    else response.writeHead(200, { 'Content-Type': 'image/png' }).end(picture(seed, Math.min(width, 400)));
}

/**
 * @param {string} path
 * @param {import('node:http').ServerResponse} response
 */
async function answerFile(path, response) {
    const file = new URL(`.${path}`, repository);
    try {
        if (!served.some((folder) => path.startsWith(folder))) throw new Error('not served');
        const body = await readFile(file);
        const type = types[/** @type {keyof types} */ (extname(file.pathname))];
        response.writeHead(200, { 'Content-Type': type, 'Content-Security-Policy': policy }).end(body);
    } catch {
        response.writeHead(404).end();
    }
}
