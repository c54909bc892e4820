import assert from 'node:assert/strict';
import { readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { after, before, test } from 'node:test';

import { newPage, startBrowserWith, stopBrowser } from '../support/browser.js';
import { name, startProxy } from '../support/proxy.js';
import { serve, temporaryTree } from '../support/served.js';

const origin = `https://${name}`;
const token = 'correct horse battery staple';
const chime = '/music/media/file/Sketches/Door%20chime.wav';

/** @type {Awaited<ReturnType<typeof temporaryTree>>} */
let tree;
/** @type {Awaited<ReturnType<typeof serve>>} */
let host;
/** @type {Awaited<ReturnType<typeof startProxy>>} */
let proxy;

before(async () => {
    tree = await temporaryTree();
    const tokenFile = join(tree.directory, 'token');
    await writeFile(tokenFile, `${token}\n`, { mode: 0o600 });
    host = await serve(tree, { options: ['--token-file', tokenFile, '--origin', origin] });
    proxy = await startProxy(tree.directory, host.port);
    await startBrowserWith([`--host-resolver-rules=MAP ${name}:443 127.0.0.1:${proxy.port}`]);
});

after(async () => {
    await stopBrowser();
    await proxy?.stop();
    await host?.stop();
    await tree?.remove();
});

/** @param {Record<string, string>} [headers] */
function login(headers = { Origin: origin }) {
    const all = { 'Content-Type': 'application/json', ...headers };
    return proxy.ask('/music/login', { method: 'POST', headers: all }, JSON.stringify({ token }));
}

/** The cookie of a new session, as a browser sends it back. */
async function signIn() {
    const { headers } = await login();
    return headers['set-cookie']?.[0].split(';')[0] ?? '';
}

/** @param {Record<string, string>} headers */
function askForWebSocket(headers) {
    const upgrade = { Connection: 'Upgrade', Upgrade: 'websocket', 'Sec-WebSocket-Version': '13' };
    const key = Buffer.from('sixteen bytes in').toString('base64');
    return proxy.ask('/music/session', { headers: { ...upgrade, 'Sec-WebSocket-Key': key, ...headers } });
}

test('the page works behind a proxy that serves it below a path over TLS', async () => {
    const { page, problems } = await newPage({ ignoreHTTPSErrors: true });
    await page.goto(`${origin}/music/`);
    await page.getByLabel('Token').fill(token);
    await page.keyboard.press('Enter');
    await page.locator('.folder .row', { hasText: 'Sketches' }).dblclick();
    await page.locator('.folder .row', { hasText: 'Door chime' }).dblclick();
    await page.waitForFunction(() => [...document.querySelectorAll('audio')].some((audio) => audio.currentTime > 0));
    assert.equal(page.url(), `${origin}/music/#/file/Sketches`);
    const [cookie] = await page.context().cookies();
    assert.deepEqual([cookie.secure, cookie.httpOnly, cookie.sameSite, cookie.path], [true, true, 'Strict', '/music']);
    assert.deepEqual(problems, []);
});

test('a proxied login answers a secure cookie for the path below which it was asked for', async () => {
    const { status, headers } = await login();
    assert.equal(status, 204);
    assert.match(String(headers['set-cookie']), /; HttpOnly; SameSite=Strict; Secure$/);
});

test('a range of a file comes through the proxy', async () => {
    const file = await readFile(join(tree.music, 'Sketches/Door chime.wav'));
    const headers = { Cookie: await signIn(), Range: 'bytes=4-99' };
    const answer = await proxy.ask(chime, { headers });
    assert.equal(answer.status, 206);
    assert.equal(answer.headers['content-range'], `bytes 4-99/${file.length}`);
    assert.deepEqual(answer.body, file.subarray(4, 100));
});

test('a proxied request without a session is refused', async () => {
    assert.equal((await proxy.ask(chime)).status, 401);
    assert.equal((await askForWebSocket({ Origin: origin })).status, 401);
});

test('a WebSocket opens through the proxy for its own page alone', async () => {
    const cookie = await signIn();
    assert.equal((await askForWebSocket({ Cookie: cookie, Origin: origin })).status, 101);
    for (const foreign of ['https://evil.example', 'null', 'file://', `${origin}.evil.example`]) {
        assert.equal((await askForWebSocket({ Cookie: cookie, Origin: foreign })).status, 403, foreign);
    }
});

test('a proxied request from a foreign page, or for a foreign host, is refused', async () => {
    assert.equal((await login({ Origin: 'https://evil.example' })).status, 403);
    assert.equal((await login({ Origin: origin, Host: 'evil.example' })).status, 421);
});
