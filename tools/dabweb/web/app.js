// The radio screen: state from /api/events (one "state" event, then patches and one "notify"
// event per notification of the service), commands through /api/call and /api/sim.
'use strict';

const PAGE_SIZE = 8;
const HOLD_MS = 800;
const PTY_NAMES = ['None', 'News', 'Current Affairs', 'Information', 'Sport', 'Education', 'Drama',
  'Culture', 'Science', 'Varied', 'Pop Music', 'Rock Music', 'Easy Listening', 'Light Classical',
  'Serious Classical', 'Other Music', 'Weather', 'Finance', "Children's", 'Social Affairs', 'Religion',
  'Phone In', 'Travel', 'Leisure', 'Jazz Music', 'Country Music', 'National Music', 'Oldies Music',
  'Folk Music', 'Documentary', 'Alarm Test', 'Alarm'];
const MODES = {5: 'tuned', 11: 'seeking up', 12: 'seeking down', 13: 'manual step', 14: 'preset scan',
  17: 'preset / band change', 25: 'list update', 27: 'list update (requested)', 28: 'list update (automatic)'};
const LIST_RECALL = {services: 'serviceListRecall', news: 'ptyNewsinfoListRecall',
  popular: 'ptyPopularListRecall', classics: 'ptyClassicsListRecall', others: 'ptyOthersListRecall',
  ensemble: 'ensembleListRecall'};
const LIST_REQUEST = {services: ['requestServiceCompList', []], news: ['requestPTYSecondList', [0]],
  popular: ['requestPTYSecondList', [1]], classics: ['requestPTYSecondList', [2]],
  others: ['requestPTYSecondList', [3]], ensembles: ['requestEnsembleList', []]};
const LIST_TITLES = {services: 'Services', news: 'News and information', popular: 'Popular',
  classics: 'Classics', others: 'Others', ensembles: 'Ensembles', ensemble: 'Ensemble'};

let state = {running: false, lists: {}, presets: [], log: [], textHistory: []};
let connected = false;  // the event stream is open
let list = {kind: null, page: 0, found: -1, title: ''};
const $ = (id) => document.getElementById(id);

function text(v, none = '–') {
  if (v === null || v === undefined) return none;
  if (typeof v === 'object') return v.hex !== undefined ? '<' + v.hex + '>' : none;
  return String(v);
}
function el(tag, cls, content) {
  const e = document.createElement(tag);
  if (cls) e.className = cls;
  if (content !== undefined) e.textContent = content;
  return e;
}

async function post(path, args) {
  try {
    const r = await fetch(path, {method: 'POST', headers: {'Content-Type': 'application/json'},
      body: JSON.stringify({args: args || []})});
    const body = await r.json().catch(() => ({error: 'bad answer'}));
    if (!r.ok) throw new Error(body.error || ('HTTP ' + r.status));
    return body;
  } catch (e) {
    $('sim-result').textContent = e.message;
    return null;
  }
}
const call = (op, args) => post('/api/call/' + op, args);

// ---- rendering ------------------------------------------------------------------------
function renderBanner() {
  const b = $('banner');
  let msg = '';
  if (!connected) msg = 'dabweb not reachable — reconnecting…';
  else if (!state.running) msg = 'radio service not running — reconnecting…';
  else if (!state.active) msg = 'DAB source not active';
  b.textContent = msg;
  b.classList.toggle('hidden', msg === '');
  document.body.classList.toggle('down', !connected || !state.running);
}

function renderNowPlaying() {
  const s = state;
  $('service-label').textContent = text(s.serviceLabel, 'No service');
  $('ensemble-label').textContent = text(s.ensembleLabel, 'no ensemble');
  $('comp-label').textContent = text(s.compLabel, '');
  $('comp-info').textContent = (s.compNum && s.compTotal) ? `component ${s.compNum} of ${s.compTotal}` : 'no components';
  $('band').textContent = 'Band ' + text(s.band);
  $('channel').textContent = text(s.channel);
  $('freq').textContent = text(s.freqString) ;
  $('pty').textContent = 'PTY ' + (Number.isInteger(s.ptyType) ? (PTY_NAMES[s.ptyType] || s.ptyType) : '–');
  $('bitrate').textContent = text(s.bitPerSecond) + ' kbit/s';
  $('preset-num').textContent = Number.isInteger(s.presetNum) && s.presetNum >= 0
    ? `preset ${s.presetNum % 6 + 1} of band ${Math.floor(s.presetNum / 6) + 1}` : 'no preset';
  $('dynamic-text').textContent = text(s.dynamicText, '');
  $('dynamic-text').classList.toggle('none', s.dynamicText === null || s.dynamicText === undefined);
  const hist = $('text-history');
  hist.replaceChildren(...(s.textHistory || []).map((t) => el('li', '', text(t))));
  const mode = s.logicMode;
  $('mode').textContent = Number.isInteger(mode) ? (MODES[mode] || 'logic mode ' + mode) + ` (${mode})` : '—';
  const ant = $('antenna');
  ant.classList.toggle('on', s.antStatus === 1);
  ant.classList.toggle('good', s.antStatus === 2 || s.antStatus === 0);
  ant.textContent = s.antStatus === 1 ? 'ANTENNA FAULT' : 'ANT';
  ant.title = 'antenna status ' + text(s.antStatus);
  const err = $('error');
  const e = Number.isInteger(s.error) ? s.error : 0;
  err.classList.toggle('on', e !== 0);
  err.textContent = e !== 0 ? 'ERROR ' + e : 'ERR';
  err.title = 'error ' + text(s.error) + ', tuner error ' + text(s.realError);
  const fm = $('fmlink');
  fm.textContent = 'FM ' + text(s.fmLink);
  fm.title = 'FM link state';
  const sig = $('signal');
  const level = Number.isInteger(s.signalLevel) ? s.signalLevel : 0;
  sig.replaceChildren(...[1, 2, 3, 4, 5, 6, 7].map((i) => {
    const bar = el('i', i <= level ? 'lit' : '');
    bar.style.height = (6 + i * 2) + 'px';
    return bar;
  }));
  sig.dataset.level = level;
  sig.title = 'signal ' + level + '/7';
}

// The buttons are made once and updated in place, so that a press lasts across updates.
function buildPresets() {
  const box = $('presets');
  for (let b = 1; b <= 3; b++) {
    const label = el('span', 'bandlabel', 'B' + b);
    label.id = 'band-' + b;
    box.append(label);
    for (let i = 0; i < 6; i++) {
      if (i === 3) box.append(el('span', 'spacer'));
      const btn = el('button', 'preset');
      btn.dataset.band = b;
      btn.dataset.index = i;
      btn.id = `preset-${b}-${i + 1}`;
      btn.append(el('span', 'num', 'P' + (i + 1)), el('span', 'name', ''));
      box.append(btn);
    }
  }
}

function renderPresets() {
  for (let b = 1; b <= 3; b++) {
    $('band-' + b).classList.toggle('currentband', state.band === b);
    const row = (state.presets || [])[b - 1] || [];
    for (let i = 0; i < 6; i++) {
      const p = row[i];
      const btn = $(`preset-${b}-${i + 1}`);
      const label = p && p.result === 0 ? text(p.label !== null ? p.label : (p.hex !== undefined ? p : null), '?') : 'empty';
      btn.querySelector('.name').textContent = label;
      btn.classList.toggle('empty', !p || p.result !== 0);
      // Without a name of its own a preset shows its frequency (or channel).
      btn.classList.toggle('nolabel', !!p && p.result === 0 && p.labelAvail === 0);
      btn.classList.toggle('current', state.presetNum === (b - 1) * 6 + i);
    }
  }
}

function currentList() {
  return list.kind ? (state.lists || {})[list.kind] : null;
}

function renderList() {
  const l = currentList();
  $('abc').classList.toggle('disabled', list.kind !== 'services');
  document.querySelectorAll('.listkinds button').forEach((b) => b.classList.toggle('selected', b.dataset.list === list.kind));
  $('list-title').textContent = list.kind ? list.title : 'Choose a list';
  const items = $('list-items');
  if (!l) {
    items.replaceChildren();
    $('list-page').textContent = '–';
    $('list-status').textContent = '';
    return;
  }
  const count = Number.isInteger(l.count) ? l.count : null;
  const have = (l.items || []).filter((x) => x !== null).length;
  $('list-status').textContent = count === null ? 'loading…' : (have < count ? `${have} of ${count}` : `${count} entries`);
  const pages = Math.max(1, Math.ceil((count || 0) / PAGE_SIZE));
  if (list.page >= pages) list.page = pages - 1;
  $('list-page').textContent = `page ${list.page + 1} / ${pages}`;
  const rows = [];
  for (let i = list.page * PAGE_SIZE; i < Math.min(count || 0, (list.page + 1) * PAGE_SIZE); i++) {
    const item = l.items[i];
    const li = el('li', item ? '' : 'pending');
    li.dataset.index = i;
    li.append(el('span', 'idx', String(i + 1)));
    li.append(document.createTextNode(item ? text(item.label !== null ? item.label : (item.hex !== undefined ? item : null), '(no label)') : '…'));
    if (i === list.found) li.classList.add('found');
    rows.push(li);
  }
  items.replaceChildren(...rows);
}

function renderTimeShift() {
  const s = state;
  const total = Number.isInteger(s.totalTime) && s.totalTime > 0 ? s.totalTime : 0;
  const play = Number.isInteger(s.pauseTime) ? s.pauseTime : 0;
  const cache = Number.isInteger(s.cacheTime) ? s.cacheTime : 0;
  $('ts-total').textContent = fmtTime(s.totalTime);
  $('ts-pause').textContent = fmtTime(s.pauseTime);
  $('ts-cachetime').textContent = fmtTime(s.cacheTime);
  $('ts-state').textContent = s.playing === true ? 'playing' : s.playing === false ? 'paused' : 'live';
  $('ts-cache').style.width = (total ? Math.min(100, 100 * cache / Math.max(total, cache)) : 0) + '%';
  $('ts-play').style.left = (total ? Math.min(100, 100 * play / total) : 0) + '%';
  const seek = $('ts-seek');
  seek.max = String(total);
  if (document.activeElement !== seek) seek.value = String(Math.min(play, total));
}
function fmtTime(v) {
  if (!Number.isInteger(v) || v < 0) return '–';
  return Math.floor(v / 60) + ':' + String(v % 60).padStart(2, '0');
}

function renderInfobar() {
  const bar = state.infobar;
  const f = bar && bar.dab;
  const box = $('infobar');
  if (!f || Object.keys(f).length === 0) {
    box.textContent = 'Information bar: ' + (bar ? 'nothing published' : 'head unit not answering');
    return;
  }
  const parts = [['source', f.MediaSourceID], ['VA', f.SrcNameForVA], ['label', f.DABLabel],
    ['preset', f.PresetStationNumber], ['text', f.DynamicText]];
  box.replaceChildren(el('span', '', 'Information bar: '));
  parts.filter(([, v]) => v !== undefined && v !== null && v !== '').forEach(([k, v], n) => {
    if (n) box.append(' · ');
    box.append(k + ' ');
    box.append(el('b', '', String(v)));
  });
}

function addLog(entry) {
  const log = $('log');
  if (log.firstChild && Number(log.firstChild.dataset.seq) >= entry.seq) return;
  const li = el('li');
  li.dataset.seq = entry.seq;
  li.append(el('span', 't', entry.time + ' '), `${entry.name} ${entry.ext1}` + (entry.ext2 ? ' ' + entry.ext2 : '') +
    (entry.text !== undefined ? ` "${entry.text}"` : ''));
  log.prepend(li);
  while (log.children.length > 200) log.lastChild.remove();
}

function renderAll() {
  renderBanner();
  renderNowPlaying();
  renderPresets();
  renderList();
  renderTimeShift();
  renderInfobar();
}

// ---- events ---------------------------------------------------------------------------
function merge(patch) {
  for (const [k, v] of Object.entries(patch)) {
    if (k === 'lists') state.lists = Object.assign({}, state.lists, v);
    else state[k] = v;
  }
}

function connect() {
  const es = new EventSource('/api/events');
  es.addEventListener('open', () => { connected = true; renderBanner(); });
  es.addEventListener('error', () => { connected = false; renderBanner(); });
  es.addEventListener('state', (e) => {
    connected = true;
    state = JSON.parse(e.data);
    $('log').replaceChildren();
    (state.log || []).forEach(addLog);
    renderAll();
  });
  es.addEventListener('patch', (e) => { merge(JSON.parse(e.data)); renderAll(); });
  es.addEventListener('notify', (e) => {
    const d = JSON.parse(e.data);
    merge(d.state);
    addLog(d.notify);
    if ('abcResult' in d.state) showFound(d.state.abcResult);
    renderAll();
  });
  es.addEventListener('item', (e) => {
    const d = JSON.parse(e.data);
    const l = state.lists[d.list] || (state.lists[d.list] = {count: null, items: []});
    while (l.items.length <= d.index) l.items.push(null);
    l.items[d.index] = d.item;
    if (d.list === list.kind) renderList();
  });
}

function showFound(pos) {
  if (pos === null || pos === undefined) return;
  list.found = pos;
  if (pos < 0) {
    $('list-status').textContent = 'no service with that letter';
    return;
  }
  list.page = Math.floor(pos / PAGE_SIZE);
}

// ---- input ----------------------------------------------------------------------------
function openList(kind, title) {
  list = {kind, page: 0, found: -1, title: title || LIST_TITLES[kind]};
  renderList();
}

function setup() {
  document.querySelectorAll('[data-op]').forEach((b) => b.addEventListener('click', () => call(b.dataset.op)));
  document.querySelectorAll('.tab').forEach((t) => t.addEventListener('click', () => {
    document.querySelectorAll('.tab').forEach((x) => x.classList.toggle('active', x === t));
    document.querySelectorAll('.panel').forEach((p) => p.classList.toggle('hidden', p.id !== 'tab-' + t.dataset.tab));
  }));
  document.querySelectorAll('[data-list]').forEach((b) => b.addEventListener('click', () => {
    const kind = b.dataset.list;
    const [op, args] = LIST_REQUEST[kind];
    // The service clears its lists on every request: the count notification refills it.
    state.lists[kind] = {count: null, items: []};
    openList(kind);
    call(op, args);
  }));
  const abc = $('abc');
  'ABCDEFGHIJKLMNOPQRSTUVWXYZ'.split('').forEach((ch, i) => {
    const b = el('button', '', ch);
    b.dataset.letter = ch;
    b.addEventListener('click', () => { list.found = -1; call('abcSearch', [i]); });
    abc.append(b);
  });
  $('btn-list-prev').addEventListener('click', () => { if (list.page > 0) { list.page--; renderList(); } });
  $('btn-list-next').addEventListener('click', () => {
    const l = currentList();
    if (l && (list.page + 1) * PAGE_SIZE < (l.count || 0)) { list.page++; renderList(); }
  });
  $('list-items').addEventListener('click', (e) => {
    const li = e.target.closest('li');
    if (!li) return;
    const i = Number(li.dataset.index);
    if (list.kind === 'ensembles') {
      const item = currentList().items[i];
      state.lists.ensemble = {count: null, items: []};
      openList('ensemble', 'Ensemble ' + text(item && item.label, String(i + 1)));
      call('requestEnsembleSecondList', [i]);
    } else if (LIST_RECALL[list.kind]) {
      call(LIST_RECALL[list.kind], [i]);
    }
  });
  // Presets: a tap recalls, holding stores the station heard now.
  const presets = $('presets');
  let hold = null;
  const endHold = () => { if (hold) { clearTimeout(hold.timer); hold.btn.classList.remove('holding'); } };
  presets.addEventListener('pointerdown', (e) => {
    const btn = e.target.closest('.preset');
    if (!btn) return;
    endHold();
    const band = Number(btn.dataset.band);
    const index = Number(btn.dataset.index);
    btn.classList.add('holding');
    hold = {btn, band, index, stored: false};
    hold.timer = setTimeout(() => {
      hold.stored = true;
      btn.classList.remove('holding');
      call('presetListMemory', [band, index]);
    }, HOLD_MS);
  });
  presets.addEventListener('pointerup', () => {
    if (!hold) return;
    endHold();
    if (!hold.stored) call('presetListRecall', [hold.band, hold.index]);
    hold = null;
  });
  presets.addEventListener('pointerleave', () => { endHold(); hold = null; });
  presets.addEventListener('contextmenu', (e) => e.preventDefault());
  $('ts-seek').addEventListener('change', (e) => call('timeSeek', [Number(e.target.value)]));
  document.querySelectorAll('[data-sim]').forEach((b) => b.addEventListener('click', async () => {
    const args = b.dataset.arg !== undefined ? [b.dataset.arg] : [];
    const r = await post('/api/sim/' + b.dataset.sim, args);
    if (r) $('sim-result').textContent = `${b.dataset.sim} ${args.join(' ')}: ${r.output}`;
  }));
  $('dls-form').addEventListener('submit', async (e) => {
    e.preventDefault();
    const r = await post('/api/sim/dls', [$('dls-input').value]);
    if (r) $('sim-result').textContent = 'dls: ' + r.output;
  });
  buildPresets();
  renderAll();
  connect();
}

document.addEventListener('DOMContentLoaded', setup);
