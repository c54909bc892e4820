/** The player and the queue of a host in memory, for tests. */

import { Player } from '../../../web/app/player.js';
import { Queue } from '../../../web/app/queue.js';
import { TavoPlayer } from '../../../web/app/playerview.js';
import { TavoQueue } from '../../../web/app/queueview.js';
import { Session } from '../../../web/app/session.js';
import { FakeHost, FakeNetwork } from './fake_host.js';
import { FakePlaylist } from './fake_playlist.js';

customElements.define('tavo-queue', TavoQueue);
customElements.define('tavo-player', TavoPlayer);

const host = new FakeHost();
host.addDirectory('/', []);
const playlist = new FakePlaylist(host);
const network = new FakeNetwork(host);
const session = new Session({ connect: network.connect });
const queue = new Queue(session);
const player = new Player(session, queue);
document.querySelector('main')?.append(new TavoQueue(queue, player));
document.body.append(new TavoPlayer(session, queue, player));
session.start();
await queue.start();
Object.assign(window, { host, playlist, network, session, queue, player });
