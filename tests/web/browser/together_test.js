import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';

import { newPage, startBrowser, stopBrowser } from '../support/browser.js';
import { serve, servedForEachTest } from '../support/served.js';

/** @typedef {import('playwright-core').Page} Page */

/** One queue for every page of a host, and for other outputs. */

before(startBrowser);
after(stopBrowser);

const served = servedForEachTest();

const album = '#/file/Kettle%20%26%20Crane/Songs%20for%20Rainy%20Windows';

async function openAlbum() {
    const { page } = await newPage();
    await page.goto(served.host.address + album);
    await page.locator('.hero .primary').click({ trial: true });
    return page;
}

/** @param {Page} page */
function playFolder(page) {
    return page.locator('.hero .primary').click();
}

/** @param {Page} page @param {string} name */
function press(page, name) {
    return page.locator('.player-bar').getByRole('button', { name, exact: true }).click();
}

/** @param {Page} page */
function sounds(page) {
    return page.waitForFunction(() => [...document.querySelectorAll('audio')].some((audio) => !audio.paused && audio.currentTime > 0));
}

/** @param {Page} page */
function isSilent(page) {
    return page.waitForFunction(() => [...document.querySelectorAll('audio')].every((audio) => audio.paused));
}

/** The position that a page shows, in ms. @param {Page} page */
async function position(page) {
    return Number(await page.locator('.player-bar').getByRole('slider', { name: 'Position' }).inputValue());
}

/** @param {Page} page @param {string[]} wanted */
async function showsQueue(page, wanted) {
    await page.waitForFunction((texts) => {
        const titles = [...document.querySelectorAll('tavo-queue .row .title')].map((title) => title.textContent);
        return JSON.stringify(titles) === texts;
    }, JSON.stringify(wanted));
}

const titles = ['Half a Lantern', 'What\'s Left of June?', '100% Cotton Sky'];

/** Where a page can play, as its menu has it when it has both. @param {Page} page */
async function bothOutputs(page) {
    const choices = page.getByRole('menuitemradio');
    // A menu keeps what it had when it was opened.
    for (let attempts = 0; attempts < 500; ++attempts) {
        await page.locator('.player-bar .player-output').click();
        if ((await choices.count()) === 2) break;
        await page.keyboard.press('Escape');
        await choices.first().waitFor({ state: 'detached' });
    }
    return choices;
}

/** An output without a screen: plays nothing in real time, obeys and reports. */
async function openOutput(/** @type {string} */ name) {
    const { page } = await newPage();
    // A page of the same origin, so that the host lets it connect.
    await page.goto(`${served.host.address}app/images/icon.svg`);
    await page.evaluate(async (path) => {
        const { Session } = await import(new URL('../session.js', location.href).href);
        const address = new URL('../../session', location.href);
        address.protocol = 'ws:';
        const session = new Session({ connect: () => new WebSocket(address) });
        /** @type {any[]} */
        const obeyed = [];
        const obey = async () => {
            const [player] = await session.data('/playlist/player', ['value']);
            const isNew = player.serial !== obeyed.at(-1)?.serial;
            obeyed.push(player);
            if (!isNew || player.current === null || player.state === 'stopped') return;
            const { current: id, state, position: reached, serial } = player;
            await session.set(`${path}/report`, { id, state, position: reached, duration: 60000, serial });
        };
        session.start();
        await session.open(path, () => {});
        await session.open('/playlist/player', obey);
        Object.assign(globalThis, { obeyed, session });
    }, `/playlist/outputs/${name}`);
    return page;
}

test('play now in one page plays there, and the other shows the same queue and position', async () => {
    const [one, other] = [await openAlbum(), await openAlbum()];
    await playFolder(one);
    await sounds(one);
    await showsQueue(one, titles);
    await showsQueue(other, titles);
    await other.locator('.player-bar b', { hasText: titles[0] }).waitFor();
    await isSilent(other);
    const [there, here] = await Promise.all([position(other), position(one)]);
    assert.ok(there > 0 && Math.abs(there - here) < 2000, `${there} and ${here} ms`);
});

test('play now plays on the output that is chosen', async () => {
    const [one, other] = [await openAlbum(), await openAlbum()];
    await other.keyboard.press('Shift');
    await (await bothOutputs(one)).nth(1).click();
    await one.locator('.player-output.on').first().waitFor();
    await playFolder(one);
    await sounds(other);
    await isSilent(one);
    await one.locator('.player-bar').getByRole('button', { name: 'Pause' }).waitFor();
});

test('a drag in one page moves the rows in the other', async () => {
    const [one, other] = [await openAlbum(), await openAlbum()];
    await playFolder(one);
    await showsQueue(other, titles);
    const [from, to] = await Promise.all([0, 2].map((index) => one.locator(`#queue-row-${index} .name`).boundingBox()));
    assert.ok(from && to);
    await one.mouse.move(from.x + 20, from.y + 20);
    await one.mouse.down();
    await one.mouse.move(to.x + 20, to.y + to.height, { steps: 4 });
    await one.locator('.drop-line').waitFor();
    await one.mouse.up();
    await showsQueue(other, [titles[1], titles[2], titles[0]]);
    await showsQueue(one, [titles[1], titles[2], titles[0]]);
});

test('closing the page that plays pauses, and the other one goes on at the same place', async () => {
    const [one, other] = [await openAlbum(), await openAlbum()];
    await playFolder(one);
    await sounds(one);
    await one.waitForFunction(() => [...document.querySelectorAll('audio')].some((audio) => audio.currentTime > 2));
    await one.close();
    await other.locator('.player-bar').getByRole('button', { name: 'Play', exact: true }).waitFor();
    const left = await position(other);
    assert.ok(left >= 1500, `${left} ms`);
    await press(other, 'Play');
    await sounds(other);
    const heard = await other.evaluate(() => Math.max(...[...document.querySelectorAll('audio')].map((audio) => audio.currentTime * 1000)));
    assert.ok(heard >= left - 500 && heard < left + 5000, `left at ${left}, heard at ${heard} ms`);
});

test('after the host was killed and started again the queue is as it was', async () => {
    const page = await openAlbum();
    await playFolder(page);
    await sounds(page);
    await press(page, 'Next track');
    await page.locator('#queue-row-1[aria-current=true]').waitFor();
    await page.locator('#queue-row-2').hover();
    await page.locator('#queue-row-2').getByRole('button', { name: 'Remove' }).click();
    await showsQueue(page, titles.slice(0, 2));
    await served.host.stop('SIGKILL');
    await page.locator('.connection.shown').waitFor();
    served.host = await serve(served.tree, { port: served.host.port });
    await page.locator('.connection.shown').waitFor({ state: 'detached' });
    await page.locator('.player-bar').getByRole('button', { name: 'Play', exact: true }).waitFor();
    await showsQueue(page, titles.slice(0, 2));
    await page.locator('#queue-row-1[aria-current=true]').waitFor();
    await press(page, 'Play');
    await sounds(page);
});

test('a page commands another output', async () => {
    const page = await openAlbum();
    const output = await openOutput('Kitchen');
    await (await bothOutputs(page)).filter({ hasText: 'Kitchen' }).click();
    await page.locator('.player-output', { hasText: 'Kitchen' }).first().waitFor();
    await playFolder(page);
    await output.waitForFunction(() => /** @type {any} */ (globalThis).obeyed.at(-1)?.state === 'playing');
    await isSilent(page);
    await page.waitForFunction(() => {
        const slider = /** @type {HTMLInputElement | null} */ (document.querySelector('.player-bar .player-seek input'));
        return Number(slider?.value) > 1000;
    });
    await press(page, 'Pause');
    await output.waitForFunction(() => /** @type {any} */ (globalThis).obeyed.at(-1)?.state === 'paused');
    await output.evaluate(() => /** @type {any} */ (globalThis).session.stop());
    await page.locator('.player-output', { hasText: 'Nowhere yet' }).first().waitFor({ state: 'attached' });
});
