/** Takes the pictures of the page that the documents show. Usage: node screenshots.js FOLDER */

import { join } from 'node:path';

import { newPage, startBrowser, stopBrowser } from './support/browser.js';
import { serve, temporaryTree } from './support/served.js';

const folder = process.argv[2];
const place = `#/file/${encodeURIComponent('Kettle & Crane')}/${encodeURIComponent('Songs for Rainy Windows')}`;
const wide = { viewport: { width: 1200, height: 720 } };
const looks = {
    'page-light': wide,
    'page-dark': { ...wide, colorScheme: /** @type {const} */ ('dark') },
    'page-phone': { viewport: { width: 390, height: 720 }, hasTouch: true, isMobile: true },
};

await startBrowser();
for (const [name, options] of Object.entries(looks)) {
    // All pages of a host have the same queue.
    const tree = await temporaryTree();
    const host = await serve(tree);
    const { page } = await newPage(options);
    await page.goto(host.address + place);
    await page.locator('.hero .cover img').waitFor();
    await page.locator('.folder .row .time:not(:empty)').first().waitFor();
    await page.locator('.hero .primary').click();
    await page.locator('.folder .row.now').waitFor();
    await page.locator('.player-open img').waitFor();
    await page.waitForFunction(() => [...document.images].every((image) => image.complete));
    await page.screenshot({ path: join(folder, `${name}.png`) });
    await host.stop();
    await tree.remove();
}
await stopBrowser();
