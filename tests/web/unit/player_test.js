import assert from 'node:assert/strict';
import { beforeEach, test } from 'node:test';

import { Player } from '../../../web/app/player.js';
import { Queue } from '../../../web/app/queue.js';
import { Session } from '../../../web/app/session.js';
import { ManualTimer, next } from '../support/events.js';
import { FakeHost, FakeNetwork } from '../support/fake_host.js';
import { FakePlaylist } from '../support/fake_playlist.js';

/** @type {FakeHost} */
let host;
/** @type {FakePlaylist} */
let playlist;
/** @type {FakeNetwork} */
let network;
/** @type {ManualTimer} */
let timer;
/** @type {Session} */
let session;
/** @type {Player} */
let player;

/** By the page's clock and by the host's, which differ, in ms. */
let time = { page: 0, host: 0 };

beforeEach(async () => {
    time = { page: 1000, host: 500000 };
    host = new FakeHost();
    host.addDirectory('/', []);
    playlist = new FakePlaylist(host);
    playlist.clock = () => time.host;
    network = new FakeNetwork(host);
    timer = new ManualTimer();
    session = new Session({ connect: network.connect, timer });
    const queue = new Queue(session);
    player = new Player(session, queue, () => time.page);
    edit('addToQueue', ['/file/a', '/file/b', '/file/c']);
    session.start();
    const started = next(player, 'player');
    await queue.start();
    await started;
});

/** What another client does. @param {string} service @param {any} value */
function edit(service, value) {
    return host.services.get(`/playlist/${service}`)?.(value);
}

/** Another client offers an output and chooses it. @param {string} name */
async function offer(name) {
    const send = () => {};
    host.addClient(send);
    await host.receive(send, JSON.stringify({ id: 1, method: 'open', params: { path: `/playlist/outputs/${name}` } }));
    edit('player/output', name);
    await until(() => player.output === name);
    return send;
}

/** @param {() => boolean} holds */
async function until(holds) {
    while (!holds()) await next(player, 'player');
}

/** @param {number} milliseconds */
function pass(milliseconds) {
    time = { page: time.page + milliseconds, host: time.host + milliseconds };
}

test('what plays and what follows are known with their tags', async () => {
    await offer('Kitchen');
    edit('player/play', 2);
    await until(() => player.state === 'playing');
    assert.deepEqual([player.current?.title, player.current?.source], ['Title of b', '/file/b']);
    assert.equal(player.following?.title, 'Title of c');
    playlist.describe((row) => (row.title += '!'));
    await until(() => player.current?.title === 'Title of b!');
});

test('the position goes on by itself while something plays', async () => {
    await offer('Kitchen');
    playlist.describe((row) => (row.mediaData.resources[0].duration = 60000));
    edit('player/play', 1);
    await until(() => player.state === 'playing');
    pass(5000);
    assert.equal(player.position, 5000);
    edit('player/pause', null);
    await until(() => player.state === 'paused');
    pass(5000);
    assert.equal(player.position, 5000);
});

test('a page that comes later shows the same position, whatever its clock says', async () => {
    await offer('Kitchen');
    playlist.describe((row) => (row.mediaData.resources[0].duration = 60000));
    edit('player/play', 1);
    pass(7000);
    time.page += 86400000;
    await until(() => player.state === 'playing');
    assert.equal(player.position, 7000);
});

test('the position does not leave the track', async () => {
    await offer('Kitchen');
    edit('player/play', 1);
    await until(() => player.state === 'playing');
    pass(1000000);
    assert.equal(player.position, 1500);
});

test('commands reach the host', async () => {
    await offer('Kitchen');
    await player.play(2);
    await player.seek(700.4);
    await player.setRepeat('all');
    await player.setShuffle(true);
    const { current, state, position, repeat, shuffle } = playlist.player;
    assert.deepEqual([current, state, position, repeat, shuffle], [2, 'playing', 700, 'all', true]);
    await player.next();
    assert.equal(playlist.player.current, 3);
    await player.previous(1000);
    assert.equal(playlist.player.current, 2);
    await player.stop();
    assert.equal(playlist.player.state, 'stopped');
});

test('previous begins a track again once it has played for some seconds', async () => {
    await offer('Kitchen');
    await player.play(2);
    await player.previous(3001);
    assert.deepEqual([playlist.player.current, playlist.player.position], [2, 0]);
});

test('toggling pauses what plays, and goes on with what is paused', async () => {
    await offer('Kitchen');
    await player.toggle();
    await until(() => player.state === 'playing');
    await player.toggle();
    await until(() => player.state === 'paused');
});

test('where a command seeks is shown at once', async () => {
    await offer('Kitchen');
    await player.play(1);
    await until(() => player.state === 'playing');
    void player.seek(900);
    assert.equal(player.position, 900);
});

test('playing takes an output where there is none', async () => {
    let taken = 0;
    player.takeOutput = async () => {
        taken += 1;
        await offer('Here');
    };
    await player.play(1);
    assert.deepEqual([taken, playlist.player.state], [1, 'playing']);
    await player.play(2);
    assert.equal(taken, 1);
});

test('a command that is refused is said', async () => {
    const refused = next(player, 'refused');
    await player.play(1);
    assert.equal((await refused).error.data.name, 'noOutput');
});

test('of the volumes of a dragged slider only the last one waits for the host', async () => {
    const asked = () => host.asked('set').filter(({ path }) => path === '/playlist/player/volume').map(({ value }) => value);
    const setting = player.setVolume(90);
    for (let volume = 89; volume >= 40; --volume) void player.setVolume(volume);
    assert.equal(player.volume, 40);
    await setting;
    assert.deepEqual(asked(), [90, 40]);
    assert.deepEqual([player.volume, playlist.player.volume], [40, 40]);
});

test('the outputs that are there are known by name', async () => {
    const send = await offer('Living room');
    while (player.outputs.length === 0) await next(player, 'outputs');
    assert.deepEqual(player.outputs, ['Living room']);
    host.removeClient(send);
    while (player.outputs.length > 0) await next(player, 'outputs');
});

test('an output that goes pauses, and the place is kept', async () => {
    playlist.describe((row) => (row.mediaData.resources[0].duration = 60000));
    const send = await offer('Kitchen');
    await player.play(1);
    await until(() => player.state === 'playing');
    pass(4000);
    host.removeClient(send);
    await until(() => player.output === null);
    pass(4000);
    assert.deepEqual([player.state, player.position], ['paused', 4000]);
});

test('what could not be played is known until it plays', async () => {
    await offer('Kitchen');
    await player.play(1);
    await until(() => player.state === 'playing');
    edit('outputs/Kitchen/report', { id: 1, state: 'error', position: 0, serial: playlist.player.serial, error: 'gone' });
    await until(() => player.current?.id === 2);
    assert.equal(player.hasFailed(1), true);
    await player.play(1);
    edit('outputs/Kitchen/report', { id: 1, state: 'playing', position: 0, serial: playlist.player.serial });
    await until(() => !player.hasFailed(1));
});

test('a player that stops because nothing can be played says so', async () => {
    await offer('Kitchen');
    await player.play(3);
    await until(() => player.state === 'playing');
    const givenUp = next(player, 'givenUp');
    edit('outputs/Kitchen/report', { id: 3, state: 'error', position: 0, serial: playlist.player.serial, error: 'gone' });
    await givenUp;
});

test('after a lost connection the page shows what plays then', async () => {
    await offer('Kitchen');
    network.break();
    await next(session, 'state', () => session.state === 'lost');
    edit('player/play', 3);
    timer.fire();
    await until(() => player.current?.id === 3);
});
