import { newPage } from './browser.js';

/** @typedef {import('playwright-core').Page} Page */

/**
 * Opens a page with the player and the queue.
 * @param {import('./page_server.js').PageServer} server
 * @param {string[]} files in the queue; their names say how they sound
 * @param {import('playwright-core').BrowserContextOptions} [options]
 */
export async function openPlayer(server, files, options) {
    const { page, problems } = await newPage(options);
    await page.goto(server.address);
    await page.waitForFunction(() => 'queue' in globalThis);
    if (files.length > 0) await add(page, files);
    return { page, problems };
}

/**
 * Adds files to the queue of a page.
 * @param {Page} page
 * @param {string[]} files
 */
export async function add(page, files) {
    await page.evaluate(async (names) => {
        const { queue } = /** @type {any} */ (globalThis);
        const { undo } = await queue.addToQueue(names.map((name) => `/file/${encodeURIComponent(name)}`));
        const last = undo.added.at(-1);
        while (queue.indexOf(last) === undefined) await new Promise((resolve) => queue.addEventListener('change', resolve, { once: true }));
    }, files);
}

/** A tone of one frequency. @param {number} milliseconds @param {number} [frequency] in Hz */
export function tone(milliseconds, frequency = 440) {
    return `${frequency} Hz ${milliseconds} ms.wav`;
}

/** The title of what plays. @param {Page} page */
export function playing(page) {
    return page.locator('.player-bar b').textContent();
}

/** @param {Page} page @param {string} title a part of it */
export async function plays(page, title) {
    await page.locator('.player-bar b', { hasText: title }).waitFor();
    await page.waitForFunction(() => [...document.querySelectorAll('audio')].some((audio) => !audio.paused && audio.currentTime > 0));
}
