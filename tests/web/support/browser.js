import { readFile } from 'node:fs/promises';
import { createRequire } from 'node:module';

/** Opens the page in Debian's Chromium, with a host in memory behind it. */

const require = createRequire(new URL('../../../web/package.json', import.meta.url));
/** @type {typeof import('playwright-core')} */
const { chromium } = require('playwright-core');
const axeSource = require.resolve('axe-core');

const web = new URL('../../../web/', import.meta.url);
export const origin = 'http://tavo.test';
/** As a proxy would serve the page below a path. */
export const base = `${origin}/music/`;

const types = /** @type {Record<string, string>} */ ({
    css: 'text/css',
    html: 'text/html',
    js: 'text/javascript',
    svg: 'image/svg+xml',
    webmanifest: 'application/manifest+json',
});

const contentSecurityPolicy = [
    "default-src 'none'",
    ...['script', 'style', 'img', 'media', 'connect', 'manifest'].map((kind) => `${kind}-src 'self'`),
    "require-trusted-types-for 'script'",
    "frame-ancestors 'self'",
    "base-uri 'none'",
    "form-action 'none'",
].join('; ');

/** @type {import('playwright-core').Browser | undefined} */
let browser;

export function startBrowser() {
    return startBrowserWith([]);
}

/** @param {string[]} options of Chromium's command line */
export async function startBrowserWith(options) {
    // Chromium's sandbox does not work for root.
    const sandbox = process.getuid?.() === 0 ? ['--no-sandbox'] : [];
    browser = await chromium.launch({ executablePath: '/usr/bin/chromium', args: [...sandbox, ...options] });
}

export async function stopBrowser() {
    await browser?.close();
}

/**
 * A context of its own with one page. What goes wrong in it, or breaks the content security policy, fails the test that
 * asks for `problems`.
 * @param {import('playwright-core').BrowserContextOptions} [options]
 */
export async function newPage(options = {}) {
    if (!browser) throw new Error('the browser is not started');
    const context = await browser.newContext({ locale: 'en-GB', viewport: { width: 1280, height: 760 }, ...options });
    const page = await context.newPage();
    page.setDefaultTimeout(60000);
    /** @type {string[]} */
    const problems = [];
    page.on('pageerror', (error) => problems.push(String(error)));
    page.on('console', (message) => {
        const missing = /the server responded with a status of (401|404)|WebSocket connection/.test(message.text());
        if (message.type() === 'error' && !missing) problems.push(message.text());
    });
    return { page, problems };
}

/**
 * Opens the page of a host in memory.
 * @param {import('./fake_host.js').FakeHost} host
 * @param {{ options?: import('playwright-core').BrowserContextOptions, place?: string }} [how]
 */
export async function openPage(host, { options, place = '' } = {}) {
    const { page, problems } = await newPage(options);
    await page.route(`${origin}/**`, (route) => answer(route, host));
    /** @type {Set<import('playwright-core').WebSocketRoute>} */
    const sockets = new Set();
    await page.routeWebSocket(/\/session$/, (socket) => {
        if (!host.reachable) return void socket.close();
        sockets.add(socket);
        const send = (/** @type {string} */ text) => socket.send(text);
        host.addClient(send);
        socket.onMessage((text) => void host.receive(send, String(text)));
        socket.onClose(() => host.removeClient(send));
    });
    await page.goto(`${base}${place === '' ? '' : `#${place}`}`);
    const drop = () => {
        for (const socket of sockets) void socket.close();
        sockets.clear();
    };
    return { page, problems, drop };
}

/**
 * @param {import('playwright-core').Route} route
 * @param {import('./fake_host.js').FakeHost} host
 */
async function answer(route, host) {
    const path = decodeURIComponent(new URL(route.request().url()).pathname).slice('/music/'.length);
    const served = path === '' ? 'index.html' : path;
    await host.beforeFile(served);
    const file = host.files.get(path);
    if (file) return route.fulfill({ body: file.body, contentType: file.type });
    if (path === 'rpc' && host.token !== '') return route.fulfill({ status: 401 });
    if (path === 'login') return route.fulfill({ status: login(host, route.request().postDataJSON()) });
    if (served !== 'index.html' && !served.startsWith('app/')) return route.fulfill({ status: 404 });
    try {
        const contentType = types[served.split('.').pop() ?? ''];
        const body = await readFile(new URL(served, web));
        return route.fulfill({ body, contentType, headers: { 'Content-Security-Policy': contentSecurityPolicy } });
    } catch {
        return route.fulfill({ status: 404 });
    }
}

/**
 * @param {import('./fake_host.js').FakeHost} host
 * @param {{ token: string }} given
 */
function login(host, given) {
    if (given.token !== host.token) return 401;
    host.token = '';
    host.reachable = true;
    return 204;
}

/**
 * What axe finds wrong with the page.
 * @param {import('playwright-core').Page} page
 * @returns {Promise<string[]>}
 */
export async function accessibilityViolations(page) {
    // Evaluated by the debugger's protocol, which the content security policy does not concern.
    await page.evaluate(await readFile(axeSource, 'utf8'));
    return page.evaluate(async () => {
        const { violations } = await /** @type {any} */ (globalThis).axe.run();
        return violations.flatMap((/** @type {any} */ violation) =>
            violation.nodes.map((/** @type {any} */ node) => `${violation.id}: ${node.html} ${node.failureSummary}`),
        );
    });
}

/**
 * Waits until the rows of the folder have these titles.
 * @param {import('playwright-core').Page} page
 * @param {string[]} wanted
 */
export async function showsRows(page, wanted) {
    await page.waitForFunction((texts) => {
        const titles = [...document.querySelectorAll('.folder .row .title')].map((title) => title.textContent);
        return JSON.stringify(titles) === texts;
    }, JSON.stringify(wanted));
}
