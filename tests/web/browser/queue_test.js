import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';

import { startBrowser, stopBrowser } from '../support/browser.js';
import { PageServer } from '../support/page_server.js';
import { openPlayer } from '../support/player_page.js';

/** @typedef {import('playwright-core').Page} Page */

const server = new PageServer();

before(async () => {
    await startBrowser();
    await server.listen();
});
after(async () => {
    await stopBrowser();
    await server.close();
});

const letters = ['a', 'b', 'c', 'd', 'e'];

/** The file names in the queue as the page shows it. @param {Page} page */
function order(page) {
    return page.evaluate(() => {
        const { queue } = /** @type {any} */ (globalThis);
        return queue.known(0, queue.count - 1).map((/** @type {any} */ entry) => entry.source.slice('/file/'.length)).join('');
    });
}

/** Waits until the host and the page have the files in this order. @param {Page} page @param {string} wanted */
function ordered(page, wanted) {
    return page.waitForFunction((text) => {
        const { queue, playlist } = /** @type {any} */ (globalThis);
        const shown = queue.known(0, queue.count - 1).map((/** @type {any} */ entry) => entry.source);
        const kept = playlist.rows.map((/** @type {any} */ { value }) => value);
        return [shown, kept].every((paths) => paths.map((/** @type {string} */ path) => path.slice('/file/'.length)).join('') === text);
    }, wanted);
}

/** @param {Page} page @param {number} index */
function row(page, index) {
    return page.locator(`#queue-row-${index}`);
}

/** @param {Page} page @param {number} index @param {string} [part] */
async function middleOf(page, index, part = '.name') {
    const box = await row(page, index).locator(part).boundingBox();
    assert.ok(box);
    return { x: box.x + box.width / 2, y: box.y + box.height / 2 };
}

/** @param {Page} page @param {number} count */
function fill(page, count) {
    return page.evaluate(async (files) => {
        const { queue, playlist } = /** @type {any} */ (globalThis);
        playlist.filesAt = () => Array.from({ length: files }, (_, index) => `/file/${index}.wav`);
        await queue.addToQueue(['/file/Many']);
    }, count);
}

/** @param {Page} page */
function list(page) {
    return page.getByRole('grid', { name: 'Queue' });
}

test('an empty queue says how to fill it', async () => {
    const { page, problems } = await openPlayer(server, []);
    await page.getByText('Nothing in the queue').waitFor();
    await page.getByText('“Add to queue”').waitFor();
    assert.equal(await page.getByRole('button', { name: 'Clear the queue' }).isVisible(), false);
    assert.deepEqual(problems, []);
});

test('the head says how many tracks and how long', async () => {
    const { page } = await openPlayer(server, ['1 Hz 120000 ms.wav', '2 Hz 60000 ms.wav']);
    await page.getByText('2 tracks · 3 min').waitFor();
});

test('a double click and Enter play, and what plays is marked', async () => {
    const { page } = await openPlayer(server, letters.map((letter) => `${letter} 400 Hz 60000 ms.wav`));
    await row(page, 2).dblclick();
    await page.locator('#queue-row-2[aria-current=true]').waitFor();
    await list(page).press('ArrowDown');
    await list(page).press('Enter');
    await page.locator('#queue-row-3[aria-current=true]').waitFor();
    assert.equal(await page.locator('[aria-current=true]').count(), 1);
});

test('50,000 entries are drawn with 80 elements at most', async () => {
    const { page } = await openPlayer(server, []);
    await fill(page, 50000);
    await page.getByText('50,000 tracks').waitFor();
    await list(page).press('End');
    await row(page, 49999).waitFor();
    assert.equal(await row(page, 49999).getAttribute('aria-rowindex'), '50000');
    await page.setViewportSize({ width: 1280, height: 4000 });
    await page.waitForFunction(() => document.querySelectorAll('tavo-queue .row').length > 60);
    const rows = await page.locator('tavo-queue .row').count();
    assert.ok(rows <= 80, `${rows} rows`);
});

test('Alt with an arrow key moves an entry, which keeps the focus', async () => {
    const { page } = await openPlayer(server, letters);
    await row(page, 1).click();
    await list(page).press('Alt+ArrowDown');
    await ordered(page, 'acbde');
    await page.locator('#queue-row-2.focused').waitFor();
    await page.getByText('moved to 3 of 5').waitFor({ state: 'attached' });
    await list(page).press('Alt+End');
    await ordered(page, 'acdeb');
    await list(page).press('Alt+Home');
    await ordered(page, 'bacde');
    await list(page).press('Alt+ArrowUp');
    await ordered(page, 'bacde');
});

test('several selected entries move and go together', async () => {
    const { page } = await openPlayer(server, letters);
    await row(page, 1).click();
    await row(page, 3).click({ modifiers: ['Control'] });
    await list(page).press('Alt+ArrowUp');
    await ordered(page, 'bdace');
    await list(page).press('Delete');
    await ordered(page, 'ace');
    await page.getByText('Removed 2 tracks').waitFor();
});

test('shift selects a range', async () => {
    const { page } = await openPlayer(server, letters);
    await row(page, 1).click();
    await row(page, 3).click({ modifiers: ['Shift'] });
    assert.equal(await page.locator('tavo-queue [aria-selected=true]').count(), 3);
    await list(page).press('Shift+ArrowUp');
    assert.equal(await page.locator('tavo-queue [aria-selected=true]').count(), 2);
});

test('an entry is removed by its button, and undo brings it back', async () => {
    const { page } = await openPlayer(server, letters);
    await row(page, 1).hover();
    await row(page, 1).getByRole('button', { name: 'Remove' }).click();
    await ordered(page, 'acde');
    await page.getByRole('button', { name: 'Undo' }).click();
    await ordered(page, 'abcde');
});

test('after Delete the focus is on the entry that follows', async () => {
    const { page } = await openPlayer(server, letters);
    await row(page, 1).click();
    await list(page).press('Delete');
    await list(page).press('Delete');
    await ordered(page, 'ade');
    await list(page).press('End');
    await list(page).press('Delete');
    await list(page).press('Delete');
    await ordered(page, 'a');
});

test('the queue is cleared, and undo brings all back', async () => {
    const { page } = await openPlayer(server, letters);
    await page.getByRole('button', { name: 'Clear the queue' }).click();
    await page.getByText('Nothing in the queue').waitFor();
    await page.getByText('Removed 5 tracks').waitFor();
    await page.getByRole('button', { name: 'Undo' }).click();
    await ordered(page, 'abcde');
});

test('the queue is shuffled', async () => {
    const { page } = await openPlayer(server, letters);
    await page.getByRole('button', { name: 'Shuffle the queue' }).click();
    await ordered(page, 'edcba');
});

test('the mouse drags an entry to another place', async () => {
    const { page } = await openPlayer(server, letters);
    const from = await middleOf(page, 0);
    const to = await middleOf(page, 3);
    await page.mouse.move(from.x, from.y);
    await page.mouse.down();
    await page.mouse.move(to.x, to.y - 10, { steps: 4 });
    await page.locator('.drop-line').waitFor();
    await page.mouse.up();
    await ordered(page, 'bcade');
    await page.locator('.drop-line').waitFor({ state: 'hidden' });
});

test('Escape ends a drag and moves nothing', async () => {
    const { page } = await openPlayer(server, letters);
    await row(page, 0).click();
    const from = await middleOf(page, 0);
    await page.mouse.move(from.x, from.y);
    await page.mouse.down();
    await page.mouse.move(from.x, from.y + 150, { steps: 4 });
    await page.locator('.drop-line').waitFor();
    await page.keyboard.press('Escape');
    await page.mouse.up();
    assert.equal(await order(page), 'abcde');
});

test('the list scrolls while an entry is dragged at its edge', async () => {
    const { page } = await openPlayer(server, []);
    await fill(page, 300);
    const from = await middleOf(page, 0);
    await page.mouse.move(from.x, from.y);
    await page.mouse.down();
    const box = await page.locator('tavo-queue .scroller').boundingBox();
    assert.ok(box);
    await page.mouse.move(from.x, box.y + box.height - 4, { steps: 4 });
    await row(page, 60).waitFor();
    await page.mouse.up();
    await page.waitForFunction(() => /** @type {any} */ (globalThis).playlist.rows.findIndex((/** @type {any} */ entry) => entry.path === '/playlist/queue/1') > 30);
});

test('a finger drags an entry at its grip', async () => {
    const { page } = await openPlayer(server, letters, { viewport: { width: 390, height: 844 }, hasTouch: true, isMobile: true });
    const from = await middleOf(page, 4, '.grip');
    const to = await middleOf(page, 1, '.grip');
    const devTools = await page.context().newCDPSession(page);
    const touch = (/** @type {string} */ type, /** @type {{ x: number, y: number }[]} */ touchPoints) =>
        devTools.send('Input.dispatchTouchEvent', { type: /** @type {any} */ (type), touchPoints });
    await touch('touchStart', [from]);
    await touch('touchMove', [{ x: from.x, y: (from.y + to.y) / 2 }]);
    await touch('touchMove', [{ x: to.x, y: to.y - 10 }]);
    await page.locator('.drop-line').waitFor();
    await touch('touchEnd', []);
    await ordered(page, 'aebcd');
});

test('a tap plays', async () => {
    const { page } = await openPlayer(server, letters, { viewport: { width: 390, height: 844 }, hasTouch: true, isMobile: true });
    await row(page, 2).locator('.name').tap();
    await page.waitForFunction(() => /** @type {any} */ (globalThis).playlist.reports.some((/** @type {any} */ report) => report.id === 3));
});

test('rows at the eye stay where they are when entries above go', async () => {
    const { page } = await openPlayer(server, []);
    await fill(page, 500);
    await page.locator('tavo-queue .scroller').evaluate((scroller) => (scroller.scrollTop = 56 * 200));
    await row(page, 203).waitFor();
    const top = await topOf(page, 'Title of 203.wav');
    await page.evaluate(() => /** @type {any} */ (globalThis).queue.remove([1, 2, 3]));
    await page.getByText('497 tracks').waitFor();
    assert.equal(await topOf(page, 'Title of 203.wav'), top);
});

/** @param {Page} page @param {string} title */
async function topOf(page, title) {
    return (await page.locator('tavo-queue .title', { hasText: title }).boundingBox())?.y;
}

test('names are text, whatever they contain', async () => {
    const { page, problems } = await openPlayer(server, ['<img src=x onerror=alert(1)>.wav', 'ملف.wav']);
    await page.getByText('<img src=x onerror=alert(1)>.wav').first().waitFor();
    assert.equal(await page.locator('tavo-queue .title').nth(1).getAttribute('dir'), 'auto');
    assert.deepEqual(problems, []);
});

test('what is being searched is said', async () => {
    const { page } = await openPlayer(server, letters);
    await page.evaluate(() => {
        const { host, queue } = /** @type {any} */ (globalThis);
        host.before = () => new Promise((resolve) => Object.assign(globalThis, { release: resolve }));
        void queue.addToQueue(['/file/a']);
    });
    await page.getByText('Looking for tracks').waitFor();
    await page.evaluate(() => {
        const { host, release } = /** @type {any} */ (globalThis);
        host.before = () => {};
        release();
    });
    await page.getByText('6 tracks').waitFor();
});

test('a move that the host refuses is taken back and said', async () => {
    const { page } = await openPlayer(server, letters);
    await page.evaluate(() => {
        const { host } = /** @type {any} */ (globalThis);
        const held = new Promise((resolve) => Object.assign(globalThis, { release: resolve }));
        host.before = (/** @type {any} */ request) => request.params.path === '/playlist/move' && held;
    });
    await row(page, 1).click();
    await list(page).press('Alt+End');
    await page.locator('#queue-row-4.focused').waitFor();
    assert.equal(await order(page), 'acdeb');
    await page.evaluate(() => {
        const { host, release } = /** @type {any} */ (globalThis);
        host.services.get('/playlist/remove')([5]);
        release();
    });
    await page.locator('.toast', { hasText: 'Somebody else has changed the queue' }).waitFor();
    await ordered(page, 'abcd');
    await page.locator('#queue-row-1.focused').waitFor();
});

test('the menu of an entry moves and removes what is selected', async () => {
    const { page } = await openPlayer(server, letters);
    await page.evaluate(() => {
        const { host } = /** @type {any} */ (globalThis);
        host.menuOf = () => [
            ['Play', '/playlist/player/play', 3],
            ['Play Next', '/playlist/move', { ids: [3], after: 'head' }],
            ['Remove', '/playlist/remove', [3]],
            ['Show Folder', '/file/Blue', null],
        ];
    });
    await row(page, 2).click();
    await row(page, 3).click({ modifiers: ['Control'] });
    await row(page, 2).click({ button: 'right' });
    await page.getByRole('menuitem', { name: 'Play next' }).click();
    await ordered(page, 'cdabe');
    await list(page).focus();
    await list(page).press('Shift+F10');
    await page.getByRole('menuitem', { name: 'Remove' }).click();
    await ordered(page, 'abe');
    await row(page, 0).click({ button: 'right' });
    await page.getByRole('menuitem', { name: 'Show folder' }).click();
    await page.waitForFunction(() => location.hash === '#/file/Blue');
});

test('what could not be played is marked', async () => {
    const { page } = await openPlayer(server, ['broken.wav', '440 Hz 60000 ms.wav']);
    await row(page, 0).dblclick();
    await page.locator('#queue-row-0.failed').waitFor();
    await page.locator('#queue-row-0 [aria-label="Could not be played"]').waitFor();
});

test('a host without a queue says so, once', async () => {
    const { page } = await openPlayer(server, []);
    await page.evaluate(() => {
        const { host } = /** @type {any} */ (globalThis);
        host.remove('/playlist/');
    });
    await page.getByText('This server keeps no queue').waitFor();
    assert.equal(await page.getByText('This server keeps no queue').count(), 1);
});
