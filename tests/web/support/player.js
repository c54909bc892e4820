/** The player and the queue over a tree in memory, for tests. */

import { Queue } from '../../../web/app/queue.js';
import { TavoPlayer } from '../../../web/app/playerview.js';
import { TavoQueue } from '../../../web/app/queueview.js';
import { TreeSession } from './tree_session.js';

customElements.define('tavo-queue', TavoQueue);
customElements.define('tavo-player', TavoPlayer);

const session = new TreeSession({});
const queue = new Queue(/** @type {any} */ (session));
document.querySelector('main')?.append(new TavoQueue(queue));
document.body.append(new TavoPlayer(queue));
Object.assign(window, { session, queue });
