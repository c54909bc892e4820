import assert from 'node:assert/strict';
import { readFile, readdir } from 'node:fs/promises';
import { test } from 'node:test';

const web = new URL('../../../web/', import.meta.url);

/** @param {string} ending */
async function shipped(ending) {
    const files = await readdir(new URL('app/', web), { recursive: true });
    const names = ['index.html', ...files.map((file) => `app/${file}`)].filter((file) => file.endsWith(ending));
    return Promise.all(names.map(async (name) => ({ name, content: await readFile(new URL(name, web), 'utf8') })));
}

test('the page needs nothing from other origins', async () => {
    const namespace = 'http://www.w3.org/2000/svg';
    for (const { name, content } of [...(await shipped('.js')), ...(await shipped('.html')), ...(await shipped('.css'))]) {
        const addresses = content.replaceAll(/^ \*.*$/gm, '').match(/(https?|wss?):\/\/[^'"\s)]+/g) ?? [];
        assert.deepEqual(addresses.filter((address) => address !== namespace), [], name);
    }
});

test('all addresses are relative, so that the page can be served below any path', async () => {
    const [{ content }] = await shipped('.html');
    const addresses = [...content.matchAll(/(?:href|src)="([^"]+)"/g)].map(([, address]) => address);
    assert(addresses.length > 5);
    assert.deepEqual(addresses.filter((address) => !address.startsWith('app/')), []);
});

test('the page can be installed as an app, with an icon', async () => {
    const [{ content }] = await shipped('.html');
    const address = /rel="manifest" href="([^"]+)"/.exec(content)?.[1] ?? '';
    const manifest = JSON.parse(await readFile(new URL(address, web), 'utf8'));
    const place = new URL(address, 'http://tavo.test/music/');
    assert.equal(new URL(manifest.start_url, place).pathname, '/music/');
    assert(manifest.name !== '' && manifest.icons.length > 0);
    for (const { src } of manifest.icons) {
        const icon = await readFile(new URL(src, new URL(address, web)), 'utf8');
        assert.match(icon, /^<svg /);
    }
});

test('scripts import one another only', async () => {
    for (const { name, content } of await shipped('.js')) {
        const imports = [...content.matchAll(/(?:from |import\()'([^']+)'/g)].map(([, module]) => module);
        assert.deepEqual(imports.filter((module) => !/^\.{1,2}\/[\w/]+\.js$/.test(module)), [], name);
    }
});

test('the browser fetches all scripts at once instead of one import after the other', async () => {
    const [{ content }] = await shipped('.html');
    const ahead = [...content.matchAll(/rel="modulepreload" href="([^"]+)"/g)].map(([, address]) => address);
    const scripts = (await shipped('.js')).map(({ name }) => name);
    const others = scripts.filter((name) => !/app\/(main|start)\.js$|languages\/(?!en)/.test(name));
    assert.deepEqual(ahead.sort(), others.sort());
});

test('the page offers every language that it has texts in', async () => {
    const scripts = await shipped('.js');
    const start = scripts.find(({ name }) => name === 'app/start.js')?.content ?? '';
    const offered = [...start.matchAll(/import\('\.\/(languages\/\w+\.js)'\)/g)].map(([, file]) => `app/${file}`);
    const translated = scripts.map(({ name }) => name).filter((name) => /languages\/(?!en\.)/.test(name));
    assert.deepEqual(offered.sort(), translated.sort());
});
