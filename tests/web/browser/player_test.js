import assert from 'node:assert/strict';
import { after, before, beforeEach, test } from 'node:test';

import { accessibilityViolations, startBrowser, stopBrowser } from '../support/browser.js';
import { PageServer } from '../support/page_server.js';
import { add, openPlayer, playing, plays, tone } from '../support/player_page.js';

/** @typedef {import('playwright-core').Page} Page */

const server = new PageServer();

before(async () => {
    await startBrowser();
    await server.listen();
});
beforeEach(() => (server.delay = 0));
after(async () => {
    await stopBrowser();
    await server.close();
});

const phone = { viewport: { width: 390, height: 844 }, hasTouch: true, isMobile: true };
const long = tone(60000);

/** @param {Page} page @param {string} name */
function press(page, name) {
    return page.locator('.player-bar').getByRole('button', { name, exact: true }).click();
}

/** @param {Page} page */
function position(page) {
    return page.evaluate(() => {
        const audio = [...document.querySelectorAll('audio')].find((one) => !one.paused) ?? document.querySelector('audio');
        return audio?.currentTime ?? 0;
    });
}

/** @param {Page} page @param {string} words */
async function toasts(page, words) {
    await page.locator('.toast', { hasText: words }).waitFor();
}

/**
 * Fails if each of some rounds has an audible gap: a busy machine may lengthen the silence of one, never shorten it.
 * @param {() => Promise<number>} round returns its longest silence in ms
 */
async function hasNoGap(round) {
    const silences = [];
    for (let rounds = 0; rounds < 5; ++rounds) {
        silences.push(await round());
        if (Math.min(...silences) < 50) return;
    }
    assert.fail(`${silences.join(', ')} ms of silence`);
}

/**
 * Plays the queue to its end and returns the longest silence in it, in ms.
 * @param {Page} page
 */
async function longestSilence(page) {
    await page.evaluate(() => {
        const context = new AudioContext();
        const recorder = context.createScriptProcessor(1024, 1, 1);
        const heard = /** @type {Float32Array[]} */ ([]);
        recorder.onaudioprocess = ({ inputBuffer }) => heard.push(inputBuffer.getChannelData(0).slice());
        for (const audio of document.querySelectorAll('audio')) context.createMediaElementSource(audio).connect(recorder);
        recorder.connect(context.destination);
        Object.assign(globalThis, { context, heard });
    });
    await press(page, 'Play');
    await page.evaluate(() => /** @type {any} */ (globalThis).context.resume());
    await page.waitForFunction(() => /** @type {any} */ (globalThis).player.state === 'playing');
    await page.waitForFunction(() => /** @type {any} */ (globalThis).player.state === 'stopped');
    return page.evaluate(() => {
        const { context, heard } = /** @type {any} */ (globalThis);
        const loud = heard.flatMap((/** @type {Float32Array} */ part) => [...part].map((value) => Math.abs(value) > 0.01));
        const inner = loud.slice(loud.indexOf(true), loud.lastIndexOf(true));
        let [silence, longest] = [0, 0];
        for (const sounds of inner) longest = Math.max(longest, (silence = sounds ? 0 : silence + 1));
        return (longest * 1000) / context.sampleRate;
    });
}

test('play, next and previous do what they say', async () => {
    const { page, problems } = await openPlayer(server, [tone(60000, 300), tone(60000, 400)]);
    await press(page, 'Play');
    await plays(page, '300 Hz');
    await press(page, 'Next track');
    await plays(page, '400 Hz');
    // Rewound in the same task: after some seconds the button would begin the track again.
    await page.locator('.player-bar').getByRole('button', { name: 'Previous track' }).evaluate((button) => {
        document.querySelectorAll('audio').forEach((audio) => (audio.currentTime = 0));
        /** @type {HTMLElement} */ (button).click();
    });
    await plays(page, '300 Hz');
    await press(page, 'Pause');
    await page.waitForFunction(() => [...document.querySelectorAll('audio')].every((audio) => audio.paused));
    assert.deepEqual(problems, []);
});

test('between tracks there is no audible gap, however far the host is', async () => {
    server.delay = 200;
    await hasNoGap(async () => {
        const { page } = await openPlayer(server, [tone(1500, 300), tone(1713, 400), tone(1601, 500)]);
        const silence = await longestSilence(page);
        assert.match(String(await playing(page)), /500 Hz/);
        return silence;
    });
});

test('a repeated track has no gap either', async () => {
    server.delay = 200;
    await hasNoGap(async () => {
        const { page } = await openPlayer(server, [tone(1500)]);
        await page.evaluate(async () => {
            const { player, playlist } = /** @type {any} */ (globalThis);
            await player.setRepeat('one');
            const begun = () => playlist.reports.filter((/** @type {any} */ report) => report.position < 500).length;
            player.addEventListener('player', () => begun() >= 5 && player.state === 'playing' && player.stop());
        });
        return longestSilence(page);
    });
});

test('the next track is loaded before the current one ends', async () => {
    const { page } = await openPlayer(server, [tone(20000, 310), tone(20000, 410)]);
    server.requests.length = 0;
    await press(page, 'Play');
    await page.waitForFunction(() => [...document.querySelectorAll('audio')].every((audio) => audio.readyState === 4));
    assert.ok(server.requests.some((request) => request.includes('410 Hz')));
    assert.match(String(await playing(page)), /310 Hz/);
});

test('what cannot be played is skipped and said', async () => {
    const { page } = await openPlayer(server, ['broken.wav', 'missing.wav', long]);
    // Messages disappear after some seconds, so they are awaited all at once.
    await Promise.all([
        toasts(page, 'broken.wav⁩ cannot be played'),
        toasts(page, 'missing.wav⁩ is no longer there'),
        press(page, 'Play'),
    ]);
    await plays(page, '60000 ms');
});

test('playing stops where nothing can be played', async () => {
    const { page } = await openPlayer(server, ['broken.wav', 'missing.wav']);
    await press(page, 'Play');
    await toasts(page, 'Nothing could be played');
    await page.locator('.player-bar').getByRole('button', { name: 'Play', exact: true }).waitFor();
});

test('a host that cannot be reached is waited for', async () => {
    const { page } = await openPlayer(server, [tone(60000, 320)]);
    server.reachable = false;
    await press(page, 'Play');
    await page.waitForFunction(() => document.querySelector('audio')?.error);
    server.reachable = true;
    await plays(page, '320 Hz');
    assert.equal(await page.locator('.toast').count(), 0);
});

test('a browser that allows no sound yet is said to wait', async () => {
    const { page } = await openPlayer(server, [long]);
    await page.evaluate(() => {
        HTMLMediaElement.prototype.play = () => Promise.reject(new DOMException('', 'NotAllowedError'));
    });
    await press(page, 'Play');
    await toasts(page, 'press play');
    await page.locator('.player-bar').getByRole('button', { name: 'Play', exact: true }).waitFor();
});

test('a page offers itself after the first gesture, under the name of the browser', async () => {
    const { page } = await openPlayer(server, [long]);
    assert.deepEqual(await page.evaluate(() => /** @type {any} */ (globalThis).playlist.outputs), []);
    await page.mouse.click(200, 400);
    await page.waitForFunction(() => /^Chrome on Linux \w{4}$/.test(/** @type {any} */ (globalThis).playlist.outputs[0]));
});

test('a stream that breaks is loaded again at the place where it broke', async () => {
    const { page } = await openPlayer(server, [tone(600000, 330)]);
    await press(page, 'Play');
    await plays(page, '330 Hz');
    server.reachable = false;
    await page.evaluate(() => void /** @type {any} */ (globalThis).player.seek(400000));
    await page.waitForFunction(() => [...document.querySelectorAll('audio')].some((audio) => audio.error));
    server.reachable = true;
    await page.waitForFunction(() => [...document.querySelectorAll('audio')].some((audio) => !audio.paused && audio.currentTime > 400));
    const reports = await page.evaluate(() => /** @type {any} */ (globalThis).playlist.reports);
    assert.deepEqual(reports.filter((/** @type {any} */ { state }) => state === 'error'), []);
});

test('the host hears what is played, and where', async () => {
    const { page } = await openPlayer(server, [tone(1500, 340), tone(60000, 350), 'missing.wav']);
    await press(page, 'Play');
    await plays(page, '350 Hz');
    await page.waitForFunction(() => /** @type {any} */ (globalThis).playlist.player.current === 2);
    await press(page, 'Pause');
    await page.waitForFunction(() => /** @type {any} */ (globalThis).playlist.reports.at(-1).state === 'paused');
    await press(page, 'Next track');
    await press(page, 'Play');
    await page.waitForFunction(() => /** @type {any} */ (globalThis).playlist.reports.at(-1).state === 'error');
    const reports = await page.evaluate(() => /** @type {any} */ (globalThis).playlist.reports);
    const heard = reports.map((/** @type {any} */ { id, state }) => `${id} ${state}`);
    assert.deepEqual([...new Set(heard)], ['1 playing', '2 playing', '2 paused', '3 error']);
    assert.equal(reports.at(-1).error, 'gone');
    assert.equal(Math.round(reports[0].duration), 1500);
});

test('the page falls silent where another output is chosen, and goes on where it is chosen again', async () => {
    const { page } = await openPlayer(server, [long]);
    await press(page, 'Play');
    await plays(page, '60000 ms');
    await page.evaluate(async () => {
        const { host, player } = /** @type {any} */ (globalThis);
        const send = () => {};
        host.addClient(send);
        await host.receive(send, JSON.stringify({ id: 1, method: 'open', params: { path: '/playlist/outputs/Kitchen' } }));
        await player.seek(20000);
    });
    await page.locator('.player-bar .player-output').click();
    await page.getByRole('menuitemradio', { name: 'This browser', checked: true }).waitFor();
    assert.deepEqual(await accessibilityViolations(page), []);
    await page.getByRole('menuitemradio', { name: 'Kitchen' }).click();
    await page.waitForFunction(() => [...document.querySelectorAll('audio')].every((audio) => audio.paused));
    await page.locator('.player-bar .player-output', { hasText: 'Kitchen' }).click();
    await page.getByRole('menuitemradio', { name: 'This browser' }).click();
    await page.waitForFunction(() => [...document.querySelectorAll('audio')].some((audio) => !audio.paused && audio.currentTime > 20));
});

test('a page that lost the connection can play again when it is back', async () => {
    const { page } = await openPlayer(server, [long]);
    await press(page, 'Play');
    await plays(page, '60000 ms');
    await page.evaluate(async () => {
        const { player, network } = /** @type {any} */ (globalThis);
        await player.seek(20000);
        network.break();
    });
    await page.waitForFunction(() => [...document.querySelectorAll('audio')].every((audio) => audio.paused));
    await press(page, 'Play');
    await page.waitForFunction(() => [...document.querySelectorAll('audio')].some((audio) => !audio.paused && audio.currentTime > 20));
});

test('the slider seeks by mouse and keyboard, and shows what is loaded', async () => {
    const { page } = await openPlayer(server, [long]);
    await press(page, 'Play');
    await plays(page, '60000 ms');
    const slider = page.locator('.player-bar').getByRole('slider', { name: 'Position' });
    await page.locator('.player-bar .player-seek .slider-parts span').first().waitFor();
    const box = await slider.boundingBox();
    assert.ok(box);
    await page.mouse.click(box.x + box.width / 2, box.y + box.height / 2);
    await page.waitForFunction(() => [...document.querySelectorAll('audio')].some((audio) => audio.currentTime >= 28 && audio.currentTime < 50));
    const earlier = await position(page);
    await slider.press('ArrowLeft');
    await slider.press('ArrowLeft');
    await slider.press('ArrowLeft');
    await slider.press('ArrowLeft');
    await page.waitForFunction((at) => [...document.querySelectorAll('audio')].some((audio) => audio.currentTime > 0 && audio.currentTime < at), earlier - 1);
    await page.locator('.player-bar [aria-valuetext$=" of 1:00"]').waitFor();
});

test('previous begins a track again once it has played for some seconds', async () => {
    const { page } = await openPlayer(server, [tone(60000, 300), tone(60000, 400)]);
    await press(page, 'Play');
    await press(page, 'Next track');
    await plays(page, '400 Hz');
    await page.evaluate(() => /** @type {any} */ (globalThis).player.seek(10000));
    await page.waitForFunction(() => [...document.querySelectorAll('audio')].some((audio) => audio.currentTime >= 10 && !audio.seeking));
    await press(page, 'Previous track');
    await page.waitForFunction(() => [...document.querySelectorAll('audio')].some((audio) => !audio.paused && audio.currentTime < 10));
    assert.match(String(await playing(page)), /400 Hz/);
});

test('the volume is the player\'s, and muting brings it back', async () => {
    const { page } = await openPlayer(server, [long]);
    await press(page, 'Play');
    await plays(page, '60000 ms');
    const slider = page.locator('.player-bar').getByRole('slider', { name: 'Volume' });
    for (let times = 0; times < 10; ++times) await slider.press('ArrowLeft');
    await loudness(page, 0.25);
    await press(page, 'Mute');
    await loudness(page, 0);
    await press(page, 'Unmute');
    await page.locator('.player-bar [aria-valuetext="50 %"]').waitFor();
    await loudness(page, 0.25);
    assert.equal(await page.evaluate(() => /** @type {any} */ (globalThis).playlist.player.volume), 50);
});

/** Waits until both elements have a volume. @param {Page} page @param {number} volume */
async function loudness(page, volume) {
    await page.waitForFunction((wanted) => {
        return [...document.querySelectorAll('audio')].every((audio) => Math.round(audio.volume * 1000) / 1000 === wanted);
    }, volume);
}

test('the system hears what plays and can command it', async () => {
    const { page } = await openPlayer(server, []);
    await page.addInitScript(() => {
        /** @type {Record<string, any>} */
        const handlers = {};
        navigator.mediaSession.setActionHandler = (action, handler) => void (handlers[action] = handler);
        Object.assign(globalThis, { handlers });
    });
    await page.reload();
    await page.waitForFunction(() => 'queue' in globalThis);
    await add(page, [tone(60000, 300), tone(60000, 400)]);
    await press(page, 'Play');
    await plays(page, '300 Hz');
    await page.evaluate(() => /** @type {any} */ (globalThis).handlers.nexttrack());
    await plays(page, '400 Hz');
    const shown = await page.evaluate(() => {
        const { metadata, playbackState } = navigator.mediaSession;
        return { title: metadata?.title, artist: metadata?.artist, cover: metadata?.artwork[0].src, playbackState };
    });
    assert.deepEqual([shown.title, shown.artist, shown.playbackState], ['Title of 400 Hz 60000 ms.wav', 'Ann', 'playing']);
    assert.match(String(shown.cover), /\/cover\/file\/400%20Hz.*\?width=100$/);
    await page.evaluate(() => /** @type {any} */ (globalThis).handlers.seekto({ seekTime: 20 }));
    await page.waitForFunction(() => [...document.querySelectorAll('audio')].some((audio) => audio.currentTime >= 20));
    await page.evaluate(() => /** @type {any} */ (globalThis).handlers.pause());
    await page.waitForFunction(() => navigator.mediaSession.playbackState === 'paused');
});

test('the space bar plays and pauses, but not in a text field or on a button', async () => {
    const { page } = await openPlayer(server, [long]);
    await page.mouse.click(200, 400);
    await page.keyboard.press('Space');
    await plays(page, '60000 ms');
    await page.getByLabel('Text').focus();
    await page.keyboard.press('Space');
    assert.equal(await page.getByLabel('Text').inputValue(), ' ');
    await page.locator('.player-bar').getByRole('button', { name: 'Shuffle' }).focus();
    await page.keyboard.press('Space');
    await page.locator('.player-bar').getByRole('button', { name: 'Shuffle', pressed: true }).waitFor();
    assert.equal(await page.evaluate(() => /** @type {any} */ (globalThis).player.state), 'playing');
});

test('Ctrl with the space bar plays from a list, too', async () => {
    const { page } = await openPlayer(server, [long]);
    await page.getByRole('grid', { name: 'Queue' }).press('Control+Space');
    await plays(page, '60000 ms');
});

test('what cannot be played is said in the full view, too', async () => {
    const { page } = await openPlayer(server, ['broken.wav']);
    await page.locator('.player-open').click();
    await page.getByRole('dialog').getByRole('button', { name: 'Play', exact: true }).click();
    await page.getByRole('dialog').getByText('cannot be played').waitFor();
});

test('the bar opens to a full view and takes the focus back', async () => {
    const { page } = await openPlayer(server, [tone(60000, 300), tone(60000, 400)], phone);
    const bar = page.locator('.player-bar');
    assert.equal((await bar.boundingBox())?.height, 64);
    await page.locator('.player-open').click();
    const full = page.getByRole('dialog');
    await full.getByRole('button', { name: 'Play', exact: true }).click();
    await plays(page, '300 Hz');
    await full.getByText('Next:').waitFor();
    await page.keyboard.press('Escape');
    await full.waitFor({ state: 'hidden' });
    assert.equal(await page.evaluate(() => document.activeElement?.className), 'player-open');
});

test('pausing the element itself, as pulled headphones do, pauses the player', async () => {
    const { page } = await openPlayer(server, [long]);
    await press(page, 'Play');
    await plays(page, '60000 ms');
    await page.evaluate(() => document.querySelectorAll('audio').forEach((audio) => audio.pause()));
    await page.waitForFunction(() => /** @type {any} */ (globalThis).player.state === 'paused');
});

test('an element that is paused while it waits for data pauses the player', async () => {
    const { page } = await openPlayer(server, [long]);
    await press(page, 'Play');
    await plays(page, '60000 ms');
    await page.evaluate(() => {
        for (const audio of document.querySelectorAll('audio')) {
            Object.defineProperty(audio, 'readyState', { value: HTMLMediaElement.HAVE_CURRENT_DATA });
            audio.pause();
        }
    });
    await page.waitForFunction(() => /** @type {any} */ (globalThis).player.state === 'paused');
});

test('news that arrives before the event of such a pause starts nothing again', async () => {
    const { page } = await openPlayer(server, [long]);
    await press(page, 'Play');
    await plays(page, '60000 ms');
    await page.evaluate(() => {
        document.querySelectorAll('audio').forEach((audio) => audio.pause());
        /** @type {any} */ (globalThis).player.dispatchEvent(new Event('player'));
    });
    await page.waitForFunction(() => /** @type {any} */ (globalThis).player.state === 'paused');
});

for (const colorScheme of /** @type {const} */ (['light', 'dark'])) {
    test(`player and queue have no accessibility violation, ${colorScheme}`, async () => {
        const { page, problems } = await openPlayer(server, [long, 'broken.wav', tone(60000, 500)], { colorScheme });
        await press(page, 'Play');
        await plays(page, '60000 ms');
        assert.deepEqual(await accessibilityViolations(page), []);
        await page.locator('.player-open').click();
        assert.deepEqual(await accessibilityViolations(page), []);
        assert.deepEqual(problems, []);
    });
}

test('an empty player has no accessibility violation either', async () => {
    const { page } = await openPlayer(server, []);
    assert.deepEqual(await accessibilityViolations(page), []);
});

for (const [name, width, height] of /** @type {const} */ ([['a phone', 320, 640], ['200 % zoom', 640, 400]])) {
    test(`the full view fits ${name}`, async () => {
        const { page } = await openPlayer(server, [long], { viewport: { width, height } });
        await page.locator('.player-open').click();
        const full = page.getByRole('dialog');
        const [scrollWidth, clientWidth] = await full.evaluate((dialog) => [dialog.scrollWidth, dialog.clientWidth]);
        assert.ok(scrollWidth <= clientWidth);
        const play = full.getByRole('button', { name: 'Play', exact: true });
        await play.scrollIntoViewIfNeeded();
        await play.click();
        await plays(page, '60000 ms');
    });
}
