import assert from 'node:assert/strict';
import { after, before, describe, test } from 'node:test';

import english from '../../../web/app/languages/en.js';
import german from '../../../web/app/languages/de.js';
import { accessibilityViolations, openPage, showsRows, startBrowser, stopBrowser } from '../support/browser.js';
import { FakeHost } from '../support/fake_host.js';
import { FakePlaylist } from '../support/fake_playlist.js';

/** @typedef {import('playwright-core').Page} Page */

/** The page as a German browser shows it. */

before(startBrowser);
after(stopBrowser);

const blue = '/file/Blau';
const tracks = ['01 Perigäum.opus', '02 Laterne.opus', '03 Rückkehr.opus'];

function house() {
    const host = new FakeHost();
    host.addDirectory('/', []);
    host.addDirectory('/file/', ['Blau/', 'Leer/']);
    host.addDirectory(blue, tracks);
    host.addDirectory('/file/Leer', []);
    host.menuOf = (path) => (path.startsWith('/playlist/') ? menuOfEntry : menuOfFile)(path);
    void new FakePlaylist(host);
    return host;
}

const looks = /** @type {const} */ ({
    'a narrow phone': { viewport: { width: 320, height: 640 }, hasTouch: true, isMobile: true },
    'a desktop at night': { viewport: { width: 1280, height: 760 }, colorScheme: 'dark' },
});

/** @param {string} path */
function menuOfFile(path) {
    return [
        ['Play Now', '/playlist/playNow', path],
        ['Play Next', '/playlist/playNext', path],
        ['Add to Queue', '/playlist/addToQueue', path],
        ['Replace Queue', '/playlist/replaceQueue', path],
    ];
}

/** @param {string} path */
function menuOfEntry(path) {
    return [
        ['Play', '/playlist/player/play', path],
        ['Play Next', '/playlist/move', path],
        ['Remove', '/playlist/remove', path],
        ['Show Folder', blue, null],
    ];
}

/**
 * Opens the page of a house.
 * @param {{ host?: FakeHost, place?: string, options?: import('playwright-core').BrowserContextOptions }} [how]
 */
function openGerman({ host = house(), place = blue, options } = {}) {
    return openPage(host, { place, options: { locale: 'de-DE', ...options } });
}

/** English texts that German has other words for. */
const foreign = Object.entries(english)
    .filter(([key, entry]) => JSON.stringify(entry) !== JSON.stringify(german[/** @type {keyof typeof english} */ (key)]))
    .flatMap(([, entry]) => (typeof entry === 'string' ? [entry] : Object.values(entry)))
    .map((form) => RegExp(`^${form.replace(/[.?()]/g, '\\$&').replace(/\{\w+\}/g, '.+')}$`));

/** What people read and hear on the page. @param {Page} page @returns {Promise<string[]>} */
function words(page) {
    return page.evaluate(() => {
        const attributes = ['alt', 'aria-label', 'aria-description', 'aria-valuetext', 'placeholder', 'title'];
        const said = [...document.querySelectorAll('body *')].flatMap((element) => [
            ...attributes.map((name) => element.getAttribute(name) ?? ''),
            ...[...element.childNodes].filter((node) => node instanceof Text).map((node) => node.data),
        ]);
        return [document.title, ...said].map((word) => word.trim()).filter(Boolean);
    });
}

/**
 * What leads out of the window, and what has no room in its own box. Names of files are cut on purpose.
 * @param {Page} page
 * @returns {Promise<string[]>}
 */
function cutOff(page) {
    return page.evaluate(() => {
        const modal = document.querySelector('dialog:modal');
        const seen = [...(modal ?? document.body).querySelectorAll('*')].filter((element) => element.checkVisibility() && !element.closest('.unseen, svg'));
        const beyond = seen.filter((element) => {
            const { left, right } = element.getBoundingClientRect();
            return left < -0.5 || right > innerWidth + 0.5;
        });
        const boxes = [...seen, modal ?? document.documentElement].filter((element) => element.textContent?.trim() && !element.matches('[dir=auto]'));
        const crowded = boxes.filter((element) => element.scrollWidth > element.clientWidth && element.clientWidth > 0);
        return [...beyond, ...crowded].map((element) => `${element.tagName}.${element.className} ${element.textContent}`);
    });
}

/** What every view in German must hold to. @param {Page} page @param {string} view */
async function assertGerman(page, view) {
    // The host in memory names tracks in English.
    const spoken = (await words(page)).filter((said) => !said.includes('Title of'));
    assert.deepEqual(spoken.filter((said) => foreign.some((text) => text.test(said))), [], view);
    assert.deepEqual(await cutOff(page), [], view);
    assert.deepEqual(await accessibilityViolations(page), [], view);
}

test('German texts are fetched while the page is still being loaded, and only by German browsers', async () => {
    const host = house();
    const catalogue = 'app/languages/de.js';
    /** @type {Set<string>} */
    const asked = new Set();
    /** @type {(file: string) => void} */
    let fetched = () => {};
    const early = new Promise((resolve) => (fetched = resolve));
    host.beforeFile = async (file) => {
        asked.add(file);
        if (file === catalogue) fetched(file);
        if (file === 'app/folder.js') await early;
    };
    await showsRows((await openGerman({ host })).page, ['01 Perigäum.opus', '02 Laterne.opus', '03 Rückkehr.opus']);
    asked.clear();
    const { page } = await openPage(host, { place: blue });
    await page.getByRole('button', { name: 'Play', exact: true }).first().waitFor();
    assert.equal(asked.has(catalogue), false);
});

test('the language is the first of the browser that the page has, and the host hears of it', async () => {
    const host = house();
    const { page } = await openPage(host, { place: blue });
    await page.addInitScript(() => Object.defineProperty(navigator, 'languages', { value: ['fr-CH', 'de-CH', 'en'] }));
    await page.reload();
    await page.getByRole('button', { name: 'Abspielen', exact: true }).first().waitFor();
    assert.equal(await page.getAttribute('html', 'lang'), 'de');
    assert.deepEqual(host.asked('describe').at(-1), { language: 'de' });
});

test('a page whose German texts cannot be fetched is English', async () => {
    const host = house();
    host.files.set('app/languages/de.js', { body: Buffer.from('<html>'), type: 'text/html' });
    const { page } = await openGerman({ host });
    await page.getByRole('button', { name: 'Play', exact: true }).first().waitFor();
    assert.equal(await page.getAttribute('html', 'lang'), 'en');
});

for (const [look, options] of Object.entries(looks)) {
    describe(`on ${look}, in German,`, () => {
        const isNarrow = options.viewport.width < 760;

        /** On a narrow page, goes to an area by its tab. @param {Page} page @param {string} name */
        async function show(page, name) {
            if (isNarrow) await page.getByRole('navigation', { name: 'Bereiche' }).getByRole('button', { name }).click();
        }

        test('a folder, its menu, its selection and the keys read well', async () => {
            const { page, problems } = await openGerman({ options });
            await showsRows(page, tracks);
            await page.locator('.sub', { hasText: '3 Titel' }).waitFor();
            await assertGerman(page, 'folder');
            await page.keyboard.press('ArrowDown');
            await page.keyboard.press('Shift+F10');
            await page.getByRole('menuitem', { name: 'Als Nächstes abspielen' }).waitFor();
            await assertGerman(page, 'menu');
            await page.keyboard.press('Escape');
            await page.keyboard.press('Control+a');
            await page.locator('.selected', { hasText: '3 ausgewählt' }).waitFor();
            await assertGerman(page, 'selection');
            await page.keyboard.press('?');
            await page.getByRole('dialog', { name: 'Tastenkürzel' }).waitFor();
            await assertGerman(page, 'keys');
            assert.deepEqual(problems, []);
        });

        test('the queue and the player read well', async () => {
            const { page } = await openGerman({ options });
            await show(page, 'Warteschlange');
            await page.getByText('Die Warteschlange ist leer').waitFor();
            await assertGerman(page, 'empty queue');
            await show(page, 'Ordner');
            await page.locator('.hero').getByRole('button', { name: 'In die Warteschlange' }).click();
            await page.locator('.toast', { hasText: '3 Einträge zur Warteschlange hinzugefügt' }).waitFor();
            await assertGerman(page, 'toast');
            await show(page, 'Warteschlange');
            await page.locator('tavo-queue .row').first().click({ button: 'right' });
            await page.getByRole('menuitem', { name: 'Ordner anzeigen' }).waitFor();
            await assertGerman(page, 'menu of an entry');
            await page.keyboard.press('Escape');
            await page.getByRole('button', { name: 'Warteschlange leeren' }).waitFor();
            await page.locator('.player-open').click();
            await assertGerman(page, 'player');
            await page.getByRole('dialog').getByRole('button', { name: 'Wiedergabe auf' }).click();
            await page.getByRole('menuitemradio', { name: 'Dieser Browser' }).waitFor();
            await assertGerman(page, 'outputs');
        });

        test('what stands in place of rows reads well', async () => {
            const host = house();
            host.faults.set('/file/Blau', { name: 'error', message: 'Fehler beim Lesen von „/file/Blau“' });
            const { page } = await openGerman({ host, options });
            await page.getByRole('button', { name: 'Zum übergeordneten Ordner' }).waitFor();
            await assertGerman(page, 'unreadable folder');
            await page.evaluate(() => (location.hash = '#/file/Leer'));
            await page.getByText('In diesem Ordner gibt es nichts abzuspielen').waitFor();
            await assertGerman(page, 'empty folder');
            await page.evaluate(() => (location.hash = '#/file/'));
            await showsRows(page, ['Blau', 'Leer']);
            await page.getByLabel('Ordner filtern').fill('Donaudampfschifffahrtsgesellschaft');
            await page.getByRole('button', { name: 'Filter aufheben' }).waitFor();
            await assertGerman(page, 'no hit');
        });

        test('a lost connection and the sign-in read well', async () => {
            const host = house();
            const { page, drop } = await openGerman({ host, options });
            await showsRows(page, tracks);
            host.reachable = false;
            drop();
            await page.getByRole('button', { name: 'Jetzt versuchen' }).waitFor();
            await assertGerman(page, 'lost connection');
            host.token = 'correct horse battery';
            await page.reload();
            await page.getByLabel('Token').fill('wrong');
            await page.keyboard.press('Enter');
            await page.getByText('Dieses Token stimmt nicht.').waitFor();
            await assertGerman(page, 'sign-in');
        });
    });
}
