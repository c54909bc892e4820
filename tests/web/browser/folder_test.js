import assert from 'node:assert/strict';
import { after, before, describe, test } from 'node:test';

import { accessibilityViolations, base, openPage, showsRows, startBrowser, stopBrowser } from '../support/browser.js';
import { FakeHost } from '../support/fake_host.js';
import { FakePlaylist } from '../support/fake_playlist.js';

/** @typedef {import('playwright-core').Page} Page */

before(startBrowser);
after(stopBrowser);

const music = '/file/';
const albums = '/file/Albums';
const blue = '/file/Albums/Blue';
const many = '/file/Many';

function house() {
    return houseWithQueue().host;
}

function houseWithQueue() {
    const host = new FakeHost();
    host.addDirectory('/', []);
    host.addDirectory(music, ['Albums/', 'Empty/', 'Many/']);
    host.addDirectory(albums, ['Blue/', 'Green/', 'Red/']);
    host.addDirectory(blue, ['01 Perigee.opus', '02 Lantern.opus', '03 Return.mpc']);
    host.addDirectory('/file/Empty', []);
    host.addDirectory(many, manyNames(100000));
    host.services.set('/file/playList/prepareItems', (paths) => paths.map(itemOf));
    return { host, playlist: new FakePlaylist(host) };
}

/** @param {number} count */
function manyNames(count) {
    return Array.from({ length: count }, (_, index) => `${String(index).padStart(6, '0')}.opus`);
}

/** Selects all entries of the folder and adds them to the queue. @param {Page} page */
async function addAll(page) {
    await page.locator('.folder .row').first().click();
    await page.keyboard.press('Control+a');
    await page.locator('.folder .row').first().click({ button: 'right' });
    await page.getByRole('menuitem', { name: 'Add to queue' }).click();
}

/** @param {string} path */
function itemOf(path) {
    const file = decodeURIComponent(path.split('/').pop() ?? '');
    const [, number, name, ending] = /^(\d+) (\w+)\.(\w+)$/.exec(file) ?? [];
    if (!name) return { path, title: file };
    const mimeType = ending === 'mpc' ? 'audio/x-musepack' : 'audio/ogg';
    const metaData = { title: name, artist: 'Low Orbit Choir' };
    return { path, title: name, mediaData: { metaData, resources: [{ mimeType, duration: 61000 * Number(number) }] } };
}

const tagged = ['Perigee', 'Lantern', 'Return'];

/** @param {Page} page */
function focused(page) {
    return page.locator('.folder .row.focused .title').textContent();
}

/**
 * The titles of the selected rows on the screen.
 * @param {Page} page
 */
function selected(page) {
    return page.locator('.folder .row[aria-selected=true] .title').allTextContents();
}

/** @param {Page} page */
function rowElements(page) {
    return page.locator('.folder .row').count();
}

describe('rows', () => {
    test('are shown with titles, artists and durations from their tags', async () => {
        const { page, problems } = await openPage(house(), { place: blue });
        await showsRows(page, tagged);
        const row = page.locator('.folder .row').first();
        assert.equal(await row.locator('small').textContent(), 'Low Orbit Choir');
        assert.equal(await row.locator('.time').textContent(), '1:01');
        assert.equal(await row.locator('.lead').textContent(), '1');
        assert.equal(await page.locator('.sub').textContent(), 'Low Orbit Choir · 3 tracks · 6 min');
        assert.deepEqual(problems, []);
    });

    test('of formats that the browser cannot play are marked', async () => {
        const { page } = await openPage(house(), { place: blue });
        await page.locator('.folder .row.unplayable').waitFor();
        const marked = page.locator('.folder .row.unplayable');
        assert.equal(await marked.locator('.title').textContent(), 'Return');
        assert.equal(await marked.locator('.lead').getAttribute('aria-label'), 'This browser cannot play this format');
    });

    test('follow the folder', async () => {
        const host = house();
        const { page } = await openPage(host, { place: albums });
        await showsRows(page, ['Blue', 'Green', 'Red']);
        // New rows are marked for a moment only, so that is awaited before the change.
        const fresh = page.waitForFunction(() => {
            const titles = [...document.querySelectorAll('.folder .row.fresh .title')];
            return titles.length > 0 && titles.map((title) => title.textContent);
        });
        host.change(albums, ['Blue/', 'Cyan/', 'Green/', 'Red/']);
        await showsRows(page, ['Blue', 'Cyan', 'Green', 'Red']);
        assert.deepEqual(await (await fresh).jsonValue(), ['Cyan']);
    });

    test('stay under the eye when others come above them', async () => {
        const host = house();
        const { page } = await openPage(host, { place: many });
        const row = page.locator('.folder .row', { hasText: '050000.opus' });
        await page.locator('.folder .row').first().waitFor();
        await page.locator('.folder .scroller').evaluate((scroller) => (scroller.scrollTop = 50000 * 48));
        await row.click();
        const top = (await row.boundingBox())?.y;
        host.change(many, [...manyNames(3).map((name) => `!${name}`), ...manyNames(100000)]);
        await page.locator('.folder .rows[aria-rowcount="100003"]').waitFor();
        assert.equal((await row.boundingBox())?.y, top);
        assert.deepEqual(await selected(page), ['050000.opus']);
        assert.equal(await focused(page), '050000.opus');
    });

    test('pass the focus on when theirs is removed', async () => {
        const host = house();
        const { page } = await openPage(host, { place: albums });
        await page.locator('.folder .row', { hasText: 'Green' }).click();
        host.change(albums, ['Blue/', 'Red/']);
        await showsRows(page, ['Blue', 'Red']);
        assert.equal(await focused(page), 'Red');
        assert.deepEqual(await selected(page), []);
    });

    test('keep names from files as text, whatever they contain', async () => {
        const host = house();
        const names = ['<img src=x onerror=alert(1)>.opus', '\u202Eevil.opus', 'a & b.opus'];
        host.addDirectory('/file/Odd', names);
        host.services.clear();
        const { page, problems } = await openPage(host, { place: '/file/Odd' });
        await showsRows(page, names);
        assert.equal(await page.locator('.folder .row img').count(), 0);
        assert.equal(await page.locator('.folder .row .title').nth(1).getAttribute('dir'), 'auto');
        assert.deepEqual(problems, []);
    });

    test('of 100,000 entries scroll from end to end with at most 80 elements', async () => {
        const { page } = await openPage(house(), { place: many, options: { viewport: { width: 1280, height: 1400 } } });
        await page.locator('.folder .row').first().waitFor();
        const most = await page.locator('.folder .scroller').evaluate(async (scroller) => {
            let elements = 0;
            const step = scroller.scrollHeight / 200;
            for (let top = 0; top < scroller.scrollHeight; top += step) {
                scroller.scrollTop = top;
                await new Promise(requestAnimationFrame);
                elements = Math.max(elements, document.querySelectorAll('.folder .row').length);
            }
            return elements;
        });
        await page.locator('.folder .row .title', { hasText: '099999.opus' }).waitFor();
        assert(most <= 80, `${most} elements`);
        assert(await rowElements(page) > 20);
    });

    test('of 100,000 entries are read only where they are looked at', async () => {
        const host = house();
        const { page } = await openPage(host, { place: many });
        await page.locator('.folder .row', { hasText: '000000.opus' }).waitFor();
        await page.keyboard.press('End');
        await page.locator('.folder .row.focused', { hasText: '099999.opus' }).waitFor();
        const ofFolder = host.asked('rows').filter(({ path }) => path === many);
        const asked = ofFolder.reduce((sum, { first = 0, last }) => sum + last - first + 1, 0);
        assert(asked < 2000, `${asked} rows`);
        const prepared = host.asked('set').flatMap(({ value }) => value);
        assert(prepared.length < 200, `${prepared.length} tags`);
    });
});

describe('places', () => {
    test('a host with one tree shows it at once', async () => {
        const { page } = await openPage(house());
        await showsRows(page, ['Albums', 'Empty', 'Many']);
        assert.equal(page.url(), `${base}#/file/`);
    });

    test('a host with several trees shows them at the top', async () => {
        const host = house();
        host.roots.push({ ...host.roots[0], prefix: '/drive', title: 'Drive' });
        host.addDirectory('/', ['file/', 'drive/']);
        host.addDirectory('/drive/', ['a.opus']);
        const { page } = await openPage(host);
        await showsRows(page, ['file', 'drive']);
        assert.equal(await page.title(), 'Folders · tavo');
        await page.evaluate(() => (location.hash = '/drive/'));
        await showsRows(page, ['a.opus']);
        assert.deepEqual(await page.locator('nav li').allTextContents(), ['Folders', 'Drive']);
        await page.keyboard.press('Backspace');
        await showsRows(page, ['file', 'drive']);
    });

    test('a deep link opens its folder, back and forward lead along the way', async () => {
        const { page } = await openPage(house(), { place: albums });
        await showsRows(page, ['Blue', 'Green', 'Red']);
        assert.equal(await page.title(), 'Albums · tavo');
        await page.locator('.folder .row').first().dblclick();
        await showsRows(page, tagged);
        assert.equal(await page.title(), 'Blue · tavo');
        await page.goBack();
        await showsRows(page, ['Blue', 'Green', 'Red']);
        await page.goForward();
        await showsRows(page, tagged);
    });

    test('a deep link is asked for while the page is still being loaded', async () => {
        const host = house();
        const asked = new Promise((resolve) => {
            host.before = async ({ method }) => void (method === 'rows' && resolve(undefined));
        });
        host.beforeFile = async (file) => void (file === 'app/folder.js' && (await asked));
        const { page } = await openPage(host, { place: albums });
        await showsRows(page, ['Blue', 'Green', 'Red']);
        assert.equal(host.asked('rows').filter(({ path }) => path === albums).length, 1);
    });

    test('crumbs lead upwards, and the current one adds no history', async () => {
        const { page } = await openPage(house(), { place: blue });
        await showsRows(page, tagged);
        assert.deepEqual(await page.locator('nav li').allTextContents(), ['Music', 'Albums', 'Blue']);
        const length = await page.evaluate(() => history.length);
        await page.locator('nav [aria-current=page]').first().click();
        assert.equal(await page.evaluate(() => history.length), length);
        await page.locator('nav a', { hasText: 'Albums' }).click();
        await showsRows(page, ['Blue', 'Green', 'Red']);
    });

    test('going back restores where the folder was left', async () => {
        const host = house();
        const folders = Array.from({ length: 500 }, (_, index) => `${String(index).padStart(3, '0')}/`);
        host.addDirectory(music, folders);
        host.addDirectory('/file/300', ['a.opus']);
        const { page } = await openPage(host, { place: music });
        await page.locator('.folder .row').first().waitFor();
        await page.locator('.folder .scroller').evaluate((scroller) => (scroller.scrollTop = 300 * 48));
        await page.locator('.folder .row', { hasText: '300' }).dblclick();
        await page.locator('.hero h2', { hasText: '300' }).waitFor();
        await page.goBack();
        await page.locator('.folder .row', { hasText: '300' }).waitFor();
        assert.equal(await page.locator('.folder .scroller').evaluate((scroller) => scroller.scrollTop), 300 * 48);
    });
});

describe('the keyboard alone', () => {
    test('moves, opens, leaves and comes back to the entry it left', async () => {
        const { page } = await openPage(house(), { place: music });
        await showsRows(page, ['Albums', 'Empty', 'Many']);
        await page.keyboard.press('ArrowDown');
        await page.keyboard.press('Enter');
        await showsRows(page, ['Blue', 'Green', 'Red']);
        await page.keyboard.press('End');
        assert.equal(await focused(page), 'Red');
        await page.keyboard.press('Home');
        await page.keyboard.press('Enter');
        await showsRows(page, tagged);
        await page.keyboard.press('Backspace');
        await showsRows(page, ['Blue', 'Green', 'Red']);
        await page.keyboard.press('Backspace');
        await showsRows(page, ['Albums', 'Empty', 'Many']);
        await page.locator('.folder .row.focused', { hasText: 'Albums' }).waitFor();
        await page.keyboard.press('Backspace');
        assert.equal(page.url(), `${base}#/file/`);
    });

    test('tells the screen reader which row has the focus', async () => {
        const { page } = await openPage(house(), { place: albums });
        await showsRows(page, ['Blue', 'Green', 'Red']);
        await page.keyboard.press('ArrowDown');
        await page.keyboard.press('ArrowDown');
        const grid = page.locator('.folder [role=grid]');
        const id = await grid.getAttribute('aria-activedescendant');
        assert.equal(await page.locator(`#${id} .title`).textContent(), 'Green');
        assert.equal(await page.locator(`#${id}`).getAttribute('aria-rowindex'), '2');
        assert.equal(await grid.getAttribute('aria-rowcount'), '3');
    });

    test('selects one, several, a range and all', async () => {
        const { page } = await openPage(house(), { place: albums });
        await showsRows(page, ['Blue', 'Green', 'Red']);
        await page.keyboard.press('ArrowDown');
        await page.keyboard.press('Shift+ArrowDown');
        assert.deepEqual(await selected(page), ['Blue', 'Green']);
        await page.locator('.folder .selected', { hasText: '2 selected' }).waitFor();
        await page.keyboard.press('Space');
        assert.deepEqual(await selected(page), ['Blue']);
        await page.keyboard.press('Control+a');
        assert.deepEqual(await selected(page), ['Blue', 'Green', 'Red']);
        await page.keyboard.press('Escape');
        assert.deepEqual(await selected(page), []);
    });

    test('jumps to a name', async () => {
        const { page } = await openPage(house(), { place: albums });
        await showsRows(page, ['Blue', 'Green', 'Red']);
        // In one task: letters that come slowly begin a new name.
        await page.evaluate(() => {
            for (const key of 'gr') document.activeElement?.dispatchEvent(new KeyboardEvent('keydown', { key, bubbles: true }));
        });
        await page.locator('.folder .row.focused', { hasText: 'Green' }).waitFor();
    });

    test('filters and clears the filter', async () => {
        const { page } = await openPage(house(), { place: albums });
        await showsRows(page, ['Blue', 'Green', 'Red']);
        await page.keyboard.press('/');
        await page.keyboard.type('re');
        await showsRows(page, ['Green', 'Red']);
        await page.keyboard.press('ArrowDown');
        assert.equal(await focused(page), 'Green');
        await page.keyboard.press('Escape');
        await showsRows(page, ['Blue', 'Green', 'Red']);
    });

    for (const key of ['ContextMenu', 'Shift+F10']) {
        test(`opens the menu of an entry by ${key} and chooses from it`, async () => {
            const { page } = await openPage(house(), { place: blue });
            await showsRows(page, tagged);
            await page.keyboard.press('ArrowDown');
            await page.keyboard.press(key);
            await page.locator('[role=menuitem]:focus', { hasText: 'Play now' }).waitFor();
            await page.keyboard.press('ArrowDown');
            await page.keyboard.press('Enter');
            await page.locator('.toast', { hasText: 'Added 1 entry to the queue' }).waitFor();
            await page.locator('[role=grid]:focus').waitFor();
        });
    }

    test('shows the list of keys', async () => {
        const { page } = await openPage(house(), { place: blue });
        await showsRows(page, tagged);
        await page.keyboard.press('?');
        await page.locator('dialog.keys', { hasText: 'Folder above' }).waitFor();
        await page.keyboard.press('Escape');
        await page.locator('dialog.keys').waitFor({ state: 'detached' });
    });
});

describe('the mouse', () => {
    test('selects with a click, adds with ctrl, extends with shift', async () => {
        const { page } = await openPage(house(), { place: albums });
        const row = (/** @type {string} */ name) => page.locator('.folder .row', { hasText: name });
        await row('Blue').click();
        assert.deepEqual(await selected(page), ['Blue']);
        await row('Red').click({ modifiers: ['Control'] });
        assert.deepEqual(await selected(page), ['Blue', 'Red']);
        await row('Blue').click();
        await row('Red').click({ modifiers: ['Shift'] });
        assert.deepEqual(await selected(page), ['Blue', 'Green', 'Red']);
    });

    test('opens the menu, whose other actions are sent to the host', async () => {
        const host = house();
        const { page } = await openPage(host, { place: blue });
        await page.locator('.folder .row', { hasText: 'Lantern' }).click({ button: 'right' });
        await page.locator('[role=menuitem]', { hasText: 'Rate' }).click();
        await page.locator('[role=menu]').waitFor({ state: 'detached' });
        const rated = () => host.asked('set').filter(({ path }) => path === '/file/rate');
        while (rated().length === 0) await new Promise(setImmediate);
        assert.deepEqual(rated(), [{ path: '/file/rate', value: `${blue}/02%20Lantern.opus` }]);
    });

    test('drags the thumb of a long list, which names the row at the eye', async () => {
        const { page } = await openPage(house(), { place: many });
        const thumb = page.locator('.folder .thumb');
        await thumb.hover();
        await page.mouse.down();
        await page.mouse.move(1270, 400, { steps: 5 });
        await page.locator('.folder .thumb-label', { hasText: /^\u2068\d+\.opus\u2069: [\d,]+ of 100,000$/ }).waitFor();
        await page.mouse.up();
        assert(await page.locator('.folder .scroller').evaluate((scroller) => scroller.scrollTop) > 1000000);
    });

    test('is there to be browsed where the host keeps no queue', async () => {
        const host = house();
        host.directories.delete('/playlist/');
        const { page } = await openPage(host, { place: blue });
        await showsRows(page, tagged);
        await page.getByText('This server keeps no queue').waitFor();
        assert.equal(await page.getByRole('button', { name: 'Add to queue' }).count(), 0);
        assert.deepEqual(await accessibilityViolations(page), []);
        await page.keyboard.press('ArrowDown');
        await page.keyboard.press('Enter');
        await page.locator('.toast', { hasText: 'This server keeps no queue' }).waitFor();
    });

    test('plays the whole folder', async () => {
        const host = house();
        const { page } = await openPage(host, { place: blue });
        await page.locator('.hero').getByRole('button', { name: 'Play' }).click();
        const played = () => host.asked('set').filter(({ path }) => path === '/playlist/playNow');
        while (played().length === 0) await new Promise(setImmediate);
        assert.deepEqual(played().map(({ value }) => value.value), [[blue]]);
    });

    test('can do nothing with a playlist file that the queue would refuse', async () => {
        const host = house();
        host.addDirectory(blue, ['01 Perigee.opus', 'Evening.m3u']);
        const { page } = await openPage(host, { place: blue });
        const file = page.locator('.folder .row', { hasText: 'Evening.m3u' });
        await file.dblclick();
        await file.click({ button: 'right' });
        await page.locator('[role=menu]').waitFor();
        assert.deepEqual(await page.locator('[role=menuitem]').allTextContents(), ['Rate']);
        await page.keyboard.press('Escape');
        assert.deepEqual(host.asked('set').filter(({ path }) => path.startsWith('/playlist/play')), []);
        await page.locator('.folder .row', { hasText: 'Perigee' }).click({ modifiers: ['Control'] });
        await file.click({ button: 'right' });
        await page.locator('[role=menuitem]', { hasText: 'Play now' }).waitFor();
    });

    test('adds more entries than the host takes at a time, and one undo takes them away', async () => {
        const { host, playlist } = houseWithQueue();
        host.addDirectory(blue, manyNames(2500));
        const { page } = await openPage(host, { place: blue });
        await addAll(page);
        const added = page.locator('.toast', { hasText: 'Added 2,500 entries to the queue' });
        await added.waitFor();
        assert.equal(playlist.rows.length, 2500);
        await added.getByRole('button', { name: 'Undo' }).click();
        await page.locator('tavo-queue .row').first().waitFor({ state: 'detached' });
        assert.equal(playlist.rows.length, 0);
    });

    test('says how much it has added when the host refuses the rest', async () => {
        const { host, playlist } = houseWithQueue();
        host.addDirectory(blue, manyNames(1500));
        playlist.filesAt = (path) => (playlist.rows.length < 1000 ? [path] : []);
        const { page } = await openPage(host, { place: blue });
        await addAll(page);
        const added = page.locator('.toast', { hasText: /^Added only 1,000 entries to the queue: noSuchItem/ });
        await added.getByRole('button', { name: 'Undo' }).click();
        await page.locator('tavo-queue .row').first().waitFor({ state: 'detached' });
        assert.equal(playlist.rows.length, 0);
    });

    test('adds the whole folder', async () => {
        const { page } = await openPage(house(), { place: blue });
        // What is announced later is known to screen readers before.
        assert.equal(await page.locator('.toasts[aria-live=polite]').count(), 1);
        await page.getByRole('button', { name: 'Add to queue' }).click();
        await page.locator('.toast', { hasText: 'Added 3 entries to the queue' }).waitFor();
    });
});

describe('a phone', () => {
    const options = { viewport: { width: 390, height: 760 }, hasTouch: true, isMobile: true };

    test('has room for everything, and rows of 56 pixels', async () => {
        const { page } = await openPage(house(), { place: blue, options });
        await showsRows(page, tagged);
        assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), 390);
        assert.equal((await page.locator('.folder .row').first().boundingBox())?.height, 56);
        assert.deepEqual(await accessibilityViolations(page), []);
    });

    test('opens with a tap', async () => {
        const { page } = await openPage(house(), { place: albums, options });
        await page.locator('.folder .row', { hasText: 'Blue' }).tap();
        await showsRows(page, tagged);
    });

    test('selects and shows the menu with a long press, and selects more with taps', async () => {
        const { page } = await openPage(house(), { place: albums, options });
        const box = await page.locator('.folder .row', { hasText: 'Blue' }).boundingBox();
        const at = { x: (box?.x ?? 0) + 100, y: (box?.y ?? 0) + 20 };
        const client = await page.context().newCDPSession(page);
        await client.send('Input.dispatchTouchEvent', { type: 'touchStart', touchPoints: [at] });
        await page.locator('[role=menu]').waitFor();
        await client.send('Input.dispatchTouchEvent', { type: 'touchEnd', touchPoints: [] });
        await page.locator('[role=menu]').waitFor();
        await page.keyboard.press('Escape');
        await page.locator('[role=menu]').waitFor({ state: 'detached' });
        await page.locator('.folder .row', { hasText: 'Red' }).tap();
        assert.deepEqual(await selected(page), ['Blue', 'Red']);
    });
});

describe('the address of the queue', () => {
    const options = { viewport: { width: 390, height: 760 } };

    test('opens the queue', async () => {
        const host = house();
        host.addDirectory('/', ['file/']);
        const { page, problems } = await openPage(host, { place: '/playlist/', options });
        await page.getByText('Nothing in the queue').waitFor();
        await page.getByRole('button', { name: 'Folders' }).click();
        await showsRows(page, ['file']);
        assert.deepEqual(problems, []);
    });

    test('leaves the folder open', async () => {
        const { page } = await openPage(house(), { place: blue, options });
        await showsRows(page, tagged);
        await page.evaluate(() => (location.hash = '/playlist/'));
        await page.getByText('Nothing in the queue').waitFor();
        await page.getByRole('button', { name: 'Folders' }).click();
        await showsRows(page, tagged);
        await page.evaluate(() => (location.hash = '/file/Albums'));
        await showsRows(page, ['Blue', 'Green', 'Red']);
        await page.goBack();
        await page.getByText('Nothing in the queue').waitFor();
    });
});

describe('states', () => {
    test('an empty folder says so', async () => {
        const { page } = await openPage(house(), { place: '/file/Empty' });
        await page.locator('.notice', { hasText: 'Nothing to play in this folder' }).waitFor();
    });

    test('a slow folder shows the outlines of rows', async () => {
        const host = house();
        /** @type {() => void} */
        let answer = () => {};
        host.before = ({ method, params }) => (method === 'rows' && params.path === blue ? new Promise((resolve) => (answer = resolve)) : Promise.resolve());
        const { page } = await openPage(host, { place: blue });
        await page.locator('.skeleton').waitFor();
        answer();
        await showsRows(page, tagged);
        assert.equal(await page.locator('.skeleton').count(), 0);
    });

    test("an unreadable folder shows the worker's words", async () => {
        const host = house();
        host.faults.set(blue, { name: 'error', message: "Cannot read '/file/Albums/Blue'" });
        const { page } = await openPage(host, { place: blue });
        await page.locator('.notice', { hasText: "Cannot read '/file/Albums/Blue'" }).waitFor();
        assert.deepEqual(await accessibilityViolations(page), []);
        host.faults.clear();
        await page.getByRole('button', { name: 'Try again' }).click();
        await showsRows(page, tagged);
    });

    test('a removed folder is gone until it comes back', async () => {
        const host = house();
        const { page } = await openPage(host, { place: blue });
        await showsRows(page, tagged);
        host.remove(blue);
        await page.locator('.notice', { hasText: 'This folder is gone' }).waitFor();
        while (!host.asked('open').some(({ path }) => path === albums)) await new Promise(setImmediate);
        host.addDirectory(blue, ['01 New.opus']);
        host.change(albums, ['Blue/']);
        await showsRows(page, ['New']);
    });

    test('a filter without a hit can be cleared', async () => {
        const { page } = await openPage(house(), { place: albums });
        await page.getByLabel('Filter this folder').fill('violet');
        await page.locator('.notice', { hasText: /Nothing here matches “\W?violet\W?”/ }).waitFor();
        await page.getByRole('button', { name: 'Clear filter' }).click();
        await showsRows(page, ['Blue', 'Green', 'Red']);
    });

    test('a lost connection leaves the rows, and the page comes back by itself', async () => {
        const host = house();
        const { page, drop } = await openPage(host, { place: albums });
        await showsRows(page, ['Blue', 'Green', 'Red']);
        host.reachable = false;
        drop();
        await page.locator('.connection', { hasText: 'Connection lost' }).waitFor();
        await showsRows(page, ['Blue', 'Green', 'Red']);
        host.addDirectory(albums, ['Blue/', 'Violet/']);
        host.reachable = true;
        await showsRows(page, ['Blue', 'Violet']);
        await page.locator('.connection').waitFor({ state: 'hidden' });
    });

    for (const event of ['online', 'focus']) {
        test(`a lost page comes back at once on the event ${event}`, async () => {
            const host = house();
            const { page, drop } = await openPage(host, { place: albums });
            await showsRows(page, ['Blue', 'Green', 'Red']);
            // Then the page does not try again by itself.
            await page.evaluate(() => void (globalThis.setTimeout = /** @type {any} */ (() => 0)));
            host.reachable = false;
            drop();
            await page.locator('.connection', { hasText: 'Connection lost' }).waitFor();
            host.addDirectory(albums, ['Blue/', 'Violet/']);
            host.reachable = true;
            await page.evaluate((type) => void dispatchEvent(new Event(type)), event);
            await showsRows(page, ['Blue', 'Violet']);
        });
    }

    test('a page that is not signed in asks for the token', async () => {
        const host = house();
        host.token = 'correct horse battery';
        host.reachable = false;
        const { page } = await openPage(host, { place: albums });
        await page.getByLabel('Token').fill('wrong');
        assert.deepEqual(await accessibilityViolations(page), []);
        await page.keyboard.press('Enter');
        await page.locator('.problem', { hasText: 'This token is not right.' }).waitFor();
        await page.getByLabel('Token').fill('correct horse battery');
        await page.getByRole('button', { name: 'Sign in' }).click();
        await showsRows(page, ['Blue', 'Green', 'Red']);
    });
});

describe('everybody', () => {
    test('reads the page in German where the browser does', async () => {
        const { page } = await openPage(house(), { place: blue, options: { locale: 'de-AT' } });
        await showsRows(page, tagged);
        assert.equal(await page.getAttribute('html', 'lang'), 'de');
        await page.locator('.hero .primary', { hasText: 'Abspielen' }).waitFor();
        assert.equal(await page.locator('.sub').textContent(), 'Low Orbit Choir · 3 Titel · 6\u00a0Min.');
    });

    test('sees it dark where the system is', async () => {
        const { page } = await openPage(house(), { place: blue, options: { colorScheme: 'dark' } });
        await showsRows(page, tagged);
        const background = await page.evaluate(() => getComputedStyle(document.body).backgroundColor);
        assert.equal(background, 'rgb(19, 19, 18)');
        assert.deepEqual(await accessibilityViolations(page), []);
    });

    test('can enlarge it to 200 %', async () => {
        const options = { viewport: { width: 640, height: 400 }, deviceScaleFactor: 2 };
        const { page } = await openPage(house(), { place: blue, options });
        await showsRows(page, tagged);
        assert.equal(await page.evaluate(() => document.documentElement.scrollWidth), 640);
        assert(await page.locator('.folder .row').first().isVisible());
    });

    test('who wants no motion gets none', async () => {
        const host = house();
        const { page } = await openPage(host, { place: albums, options: { reducedMotion: 'reduce' } });
        await showsRows(page, ['Blue', 'Green', 'Red']);
        host.change(albums, ['Amber/', 'Blue/']);
        await page.locator('.folder .row.fresh').waitFor();
        assert.equal(await page.evaluate(() => document.getAnimations().length), 0);
    });

    test('finds no violation of accessibility rules', async () => {
        const { page } = await openPage(house(), { place: blue });
        await showsRows(page, tagged);
        assert.deepEqual(await accessibilityViolations(page), []);
        await page.keyboard.press('ArrowDown');
        await page.keyboard.press('Shift+F10');
        await page.locator('[role=menu]').waitFor();
        assert.deepEqual(await accessibilityViolations(page), []);
        await page.keyboard.press('Escape');
        await page.keyboard.press('?');
        await page.locator('dialog.keys').waitFor();
        assert.deepEqual(await accessibilityViolations(page), []);
    });
});
