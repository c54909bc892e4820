import { addSignInView, connectionBar } from './connection.js';
import { element } from './dom.js';
import { TavoFolder } from './folder.js';
import { currentLanguage, useLanguage } from './language.js';
import { TavoPlayer } from './playerview.js';
import { Queue } from './queue.js';
import { TavoQueue } from './queueview.js';
import { firstRows, session } from './start.js';
import { markTab, tabBar } from './tabs.js';

customElements.define('tavo-folder', TavoFolder);
customElements.define('tavo-player', TavoPlayer);
customElements.define('tavo-queue', TavoQueue);

await useLanguage(navigator.languages);
document.documentElement.lang = currentLanguage();

const queue = new Queue(session);
const player = new TavoPlayer(queue);
const tabs = tabBar(show);

/** @type {'folder' | 'queue'} what a narrow page shows beneath the player */
let area = 'folder';

/** @param {import('./tabs.js').View} view */
function show(view) {
    if (view === 'playing') {
        player.openFull();
    } else {
        area = view;
        document.body.dataset.view = view;
    }
    markTab(tabs, view);
}

const heading = element('h1', { class: 'unseen' }, 'tavo');
const areas = element('main', {}, heading, new TavoFolder(session, queue, firstRows), new TavoQueue(queue));
document.body.append(areas, player, tabs, connectionBar(session));
addSignInView(session);
show('folder');
player.addEventListener('full', () => markTab(tabs, player.full ? 'playing' : area));
addEventListener('hashchange', () => show('folder'));
