/**
 * Measures pages in Debian's Chromium, for the benchmark's programs. Each line of its input is a measurement in JSON,
 * {"measure": NAME, ...}, and each line of its output the object of numbers that it gave.
 */

import { createInterface } from 'node:readline';

import { newPage, startBrowserWith, stopBrowser } from '../../tests/web/support/browser.js';

/** @typedef {import('playwright-core').Page} Page */

const rows = '.folder .row .title:not(:empty)';

/** So far a list is scrolled in a frame: from end to end of 100,000 rows in five seconds. */
const pixels = 16000;
const fewestFrames = 60;

/** The address bar of a new window loads pages of its own, beside the one that is measured. */
const withoutAddressBar = '--disable-features=WebUIOmniboxPopup,WebUIOmniboxAimPopup';

const measurements = {
    /** Milliseconds from the navigation until a page without anything is drawn. @param {{ address: string }} of */
    emptyPage: ({ address }) => visit(address, 'body', (page) => milliseconds(page)),

    /** Milliseconds from the first visit until the first rows are drawn. @param {{ address: string }} of */
    firstRows: ({ address }) => visit(address, rows, (page) => milliseconds(page)),

    /** What it is like to scroll a folder from end to end. @param {{ address: string }} of */
    scrolling: ({ address }) => visit(address, rows, (page) => page.evaluate(scroll, { pixels, fewestFrames })),

    /** Bytes of the scripts that a visit loads, as they are sent. @param {{ address: string }} of */
    scripts: ({ address }) => visit(address, rows, (page) => page.evaluate(weighScripts)),
};

/**
 * Opens a page for the first time, and measures it as soon as elements are drawn.
 * @template Result
 * @param {string} address
 * @param {string} selector of the elements
 * @param {(page: Page) => Promise<Result>} measure
 */
async function visit(address, selector, measure) {
    const { page } = await newPage();
    await page.addInitScript(noteWhenDrawn, selector);
    await page.goto(address);
    await page.evaluate(() => /** @type {any} */ (globalThis).drawn);
    const result = await measure(page);
    await page.context().close();
    return result;
}

/** @param {Page} page */
async function milliseconds(page) {
    return { milliseconds: await page.evaluate(() => /** @type {any} */ (globalThis).drawn) };
}

/**
 * Runs in the page before its own scripts: `drawn` is the time of the first frame that shows the elements.
 * @param {string} selector
 */
function noteWhenDrawn(selector) {
    /** @type {any} */ (globalThis).drawn = new Promise((resolve) => {
        const channel = new MessageChannel();
        const wait = () => requestAnimationFrame(() => channel.port2.postMessage(null));
        // What a frame callback sends arrives when the frame is drawn.
        channel.port1.onmessage = () => {
            if (document.readyState !== 'loading' && document.querySelector(selector)) resolve(performance.now());
            else wait();
        };
        wait();
    });
}

/**
 * Runs in the page.
 * @param {{ pixels: number, fewestFrames: number }} how
 */
async function scroll({ pixels: step, fewestFrames: fewest }) {
    const frame = () => new Promise(requestAnimationFrame);
    const scroller = /** @type {Element} */ (document.querySelector('.folder .scroller'));
    const end = scroller.scrollHeight - scroller.clientHeight;
    const frames = Math.max(fewest, Math.ceil(end / step));
    let [longestFrame, elements, before] = [0, 0, await frame()];
    for (let at = 1; at <= frames; ++at) {
        scroller.scrollTop = (end * at) / frames;
        const now = await frame();
        longestFrame = Math.max(longestFrame, now - before);
        before = now;
        elements = Math.max(elements, document.querySelectorAll('.folder .row').length);
    }
    return { longestFrame, elements };
}

/** Runs in the page. */
function weighScripts() {
    const loaded = /** @type {PerformanceResourceTiming[]} */ (performance.getEntriesByType('resource'));
    const scripts = loaded.filter((entry) => new URL(entry.name).pathname.endsWith('.js'));
    return { bytes: scripts.reduce((sum, entry) => sum + entry.encodedBodySize, 0) };
}

await startBrowserWith([withoutAddressBar]);
for await (const line of createInterface({ input: process.stdin })) {
    const { measure, ...of } = JSON.parse(line);
    const result = await measurements[/** @type {keyof typeof measurements} */ (measure)](of);
    process.stdout.write(`${JSON.stringify(result)}\n`);
}
await stopBrowser();
