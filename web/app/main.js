import { addSignInView, connectionBar } from './connection.js';
import { element } from './dom.js';
import { TavoFolder } from './folder.js';
import { currentLanguage, useLanguage } from './language.js';
import { isQueueOpen } from './place.js';
import { Player } from './player.js';
import { TavoPlayer } from './playerview.js';
import { Queue } from './queue.js';
import { TavoQueue } from './queueview.js';
import { firstRows, language, session, translation } from './start.js';
import { markTab, tabBar } from './tabs.js';

customElements.define('tavo-folder', TavoFolder);
customElements.define('tavo-player', TavoPlayer);
customElements.define('tavo-queue', TavoQueue);

const texts = await translation;
if (texts) useLanguage(language, texts);
document.documentElement.lang = currentLanguage();

const queue = new Queue(session);
const player = new Player(session, queue);
const bar = new TavoPlayer(session, queue, player);
const tabs = tabBar(show);

/** @type {'folder' | 'queue'} what a narrow page shows beneath the player */
let area = 'folder';

/** @param {import('./tabs.js').View} view */
function show(view) {
    if (view === 'playing') {
        bar.openFull();
    } else {
        area = view;
        document.body.dataset.view = view;
    }
    markTab(tabs, view);
}

function showQueue() {
    show('queue');
    queueView.focus();
}

function showPlace() {
    if (isQueueOpen()) showQueue();
    else show('folder');
}

const heading = element('h1', { class: 'unseen' }, 'tavo');
const folder = new TavoFolder(session, queue, player, firstRows);
const queueView = new TavoQueue(queue, player);
const areas = element('main', {}, heading, folder, queueView);
document.body.append(areas, bar, tabs, connectionBar(session));
addSignInView(session);
showPlace();
bar.addEventListener('full', () => markTab(tabs, bar.full ? 'playing' : area));
folder.addEventListener('queue', showQueue);
addEventListener('hashchange', showPlace);
queue.addEventListener('state', () => document.body.classList.toggle('without-queue', queue.missing));
void queue.start();
