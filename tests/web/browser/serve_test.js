import assert from 'node:assert/strict';
import { rename, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { after, before, test } from 'node:test';

import { accessibilityViolations, newPage, startBrowser, stopBrowser } from '../support/browser.js';
import { serve, servedForEachTest } from '../support/served.js';

before(startBrowser);
after(stopBrowser);

const served = servedForEachTest();

const album = '#/file/Kettle%20%26%20Crane/Songs%20for%20Rainy%20Windows';

/** @param {import('playwright-core').Page} page @param {string} title */
function row(page, title) {
    return page.locator('.folder .row', { has: page.locator('.title', { hasText: title }) });
}

test('the page browses the tree that the host serves', async () => {
    const { page, problems } = await newPage();
    await page.goto(served.host.address);
    await row(page, 'Kettle & Crane').dblclick();
    await row(page, 'Songs for Rainy Windows').dblclick();
    const track = row(page, 'Half a Lantern');
    await track.locator('small', { hasText: 'Kettle & Crane' }).waitFor();
    await track.locator('.time', { hasText: /^\d:\d\d$/ }).waitFor();
    await page.locator('.hero .cover img').waitFor();
    assert.deepEqual(problems, []);
});

/**
 * Bytes of the scripts that a page of the host has loaded.
 * @param {string} ending of their addresses
 * @param {import('playwright-core').BrowserContextOptions} [options]
 */
async function loaded(ending, options) {
    const { page } = await newPage(options);
    await page.goto(served.host.address);
    await row(page, 'Sketches').waitFor();
    return page.evaluate((wanted) => {
        const resources = /** @type {PerformanceResourceTiming[]} */ (performance.getEntriesByType('resource'));
        const scripts = resources.filter(({ name }) => name.endsWith(wanted));
        return scripts.reduce((sum, { encodedBodySize }) => sum + encodedBodySize, 0);
    }, ending);
}

test('the scripts are small', async () => {
    const bytes = await loaded('.js');
    assert(bytes > 10000 && bytes <= 60000, `${bytes} bytes`);
});

test('the texts of another language are small', async () => {
    const bytes = await loaded('/languages/de.js', { locale: 'de-DE' });
    assert(bytes > 1000 && bytes <= 4000, `${bytes} bytes`);
});

test('what happens on the disk is seen', async () => {
    const { page } = await newPage();
    await page.goto(served.host.address);
    await row(page, 'Sketches').waitFor();
    await rename(join(served.tree.music, 'Sketches'), join(served.tree.music, 'Drafts'));
    await row(page, 'Drafts').waitFor();
    await row(page, 'Sketches').waitFor({ state: 'detached' });
});

test('a server without folders says how to add one, until one is there', async () => {
    const away = join(served.tree.directory, 'Away');
    await served.host.stop();
    await rename(served.tree.music, away);
    served.host = await serve(served.tree);
    const { page, problems } = await newPage();
    await page.goto(served.host.address);
    await page.locator('.notice', { hasText: '/etc/tavo/tavo.toml' }).waitFor();
    assert.equal(await page.locator('.folder .row:visible').count(), 0);
    assert.deepEqual(await accessibilityViolations(page), []);
    await rename(away, served.tree.music);
    await row(page, 'Music').waitFor();
    await page.locator('.notice pre').first().waitFor({ state: 'detached' });
    assert.deepEqual(problems, []);
});

test('the menu of an entry adds it to the queue, and undo takes it away', async () => {
    const { page } = await newPage();
    await page.goto(served.host.address + album);
    await row(page, 'Half a Lantern').click({ button: 'right' });
    await page.locator('[role=menuitem]', { hasText: 'Add to queue' }).click();
    const entry = page.locator('tavo-queue .row .title', { hasText: 'Half a Lantern' });
    await entry.waitFor();
    await page.locator('.toast', { hasText: 'Added 1 entry' }).getByRole('button', { name: 'Undo' }).click();
    await entry.waitFor({ state: 'detached' });
});

test('what has replaced the queue can be undone', async () => {
    const { page } = await newPage();
    await page.goto(served.host.address + album);
    await row(page, 'Half a Lantern').click({ button: 'right' });
    await page.getByRole('menuitem', { name: 'Add to queue' }).click();
    const entries = page.locator('tavo-queue .row .title');
    await entries.filter({ hasText: 'Half a Lantern' }).waitFor();
    await row(page, 'Half a Lantern').locator('~ .row').first().click({ button: 'right' });
    await page.getByRole('menuitem', { name: 'Replace queue' }).click();
    await entries.filter({ hasText: 'Half a Lantern' }).waitFor({ state: 'detached' });
    await page.locator('.toast', { hasText: 'Removed 1 track' }).getByRole('button', { name: 'Undo' }).click();
    await entries.filter({ hasText: 'Half a Lantern' }).waitFor();
    assert.equal(await entries.count(), 1);
});

test('the page comes back after the host was killed and started again', async () => {
    const { page } = await newPage();
    await page.goto(served.host.address + album);
    await row(page, 'Half a Lantern').click();
    await served.host.stop('SIGKILL');
    await page.locator('.connection.shown').waitFor();
    await row(page, 'Half a Lantern').waitFor();
    await rename(join(served.tree.music, 'Sketches/Door chime.wav'), join(served.tree.music, 'Kettle & Crane/Songs for Rainy Windows/00 Door chime.wav'));
    served.host = await serve(served.tree, { port: served.host.port });
    await row(page, 'Door chime').waitFor();
    await page.locator('.connection.shown').waitFor({ state: 'detached' });
    assert.deepEqual(await page.locator('.folder .row[aria-selected=true] .title').allTextContents(), ['Half a Lantern']);
});

test('a host that wants a token lets in who has it', async () => {
    await served.host.stop();
    const tokenFile = join(served.tree.directory, 'token');
    await writeFile(tokenFile, 'correct horse battery staple\n', { mode: 0o600 });
    served.host = await serve(served.tree, { options: ['--token-file', tokenFile] });
    const { page } = await newPage();
    await page.goto(served.host.address + album);
    await page.getByLabel('Token').fill('correct horse battery');
    await page.keyboard.press('Enter');
    await page.locator('.problem', { hasText: 'This token is not right.' }).waitFor();
    await page.getByLabel('Token').fill('correct horse battery staple');
    await page.keyboard.press('Enter');
    await row(page, 'Half a Lantern').waitFor();
});
