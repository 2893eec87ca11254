// The rows of the Inbox and the SpamBox: who is on which list, Friend and Enemy for a row and for all that are ticked, and
// what else is done when a message is restored. Runs in the head; the build puts it into top.inc.
'use strict';
(function () {
  var get = Document.prototype.getElementById;
  var LISTS = { friend: 'FriendList', enemy: 'EnemyList' };
  var form, tools, offer, refused = false;

  function all(selector, within) { return Array.prototype.slice.call((within || form).querySelectorAll(selector)); }
  function element(name, text, type) {
    var one = document.createElement(name);
    one.textContent = text;
    one.className = type;
    return one;
  }
  function entryOf(link) { return link.dataset.address || link.dataset.sender; }
  function senders() { return all('tbody td.from a[data-sender]'); }

  function listButton(kind, text) {
    var button = element('button', text, kind);
    button.type = 'button';
    button.dataset.list = LISTS[kind];
    return button;
  }

  // Behind the sender: the list that it is on, and buttons for those that it is not on.
  function showLists(link) {
    var place = link.parentNode.querySelector('.lists') || element('span', '', 'lists');
    var known = link.dataset.known, away = place.contains(document.activeElement);
    link.after(place);
    place.replaceChildren();
    Object.keys(LISTS).forEach(function (kind) {
      var button;
      if (known === kind) { place.append(element('small', known, 'mark ' + known)); return; }
      button = listButton(kind, kind === 'friend' ? 'Friend' : 'Enemy');
      button.setAttribute('aria-label', button.textContent + ': ' + entryOf(link));
      button.title = 'Put ' + entryOf(link) + ' on the ' + LISTS[kind];
      place.append(button);
    });
    if (away) link.focus();
  }

  function tickedRows(box) {
    return all('tbody tr').filter(function (row) { return row.querySelector((box || '') + ' input:checked'); });
  }
  // The senders of these rows, each once.
  function entriesIn(rows) {
    var entries = [];
    rows.forEach(function (row) {
      var link = row.querySelector('td.from a[data-sender]');
      if (link && entries.indexOf(entryOf(link)) < 0) entries.push(entryOf(link));
    });
    return entries;
  }

  function add(list, entries) {
    document.dispatchEvent(new CustomEvent('add-entries', { detail: { list: list, entries: entries } }));
  }

  // What restoring offers besides: the senders that are on no list become friends, unless the user says no.
  function showOffer() {
    var rows = tickedRows('td.restore'), box = offer.querySelector('input'), strangers, enemies, text;
    function on(list) {
      return entriesIn(rows.filter(function (row) {
        var link = row.querySelector('td.from a[data-sender]');
        return link && link.dataset.known === list && (list || link.dataset.address);
      }));
    }
    strangers = on('');
    enemies = on('enemy');
    if (!rows.length) refused = false;
    box.checked = strangers.length > 0 && !refused;
    offer.querySelector('label').hidden = !strangers.length;
    offer.querySelector('label span').textContent = strangers.length === 1 ? 'and put the sender on the FriendList'
      : 'and put the ' + strangers.length + ' senders who are on no list on the FriendList';
    text = enemies.length === 0 ? '' : (enemies.length === 1 ? enemies[0] + ' is' : enemies.length + ' senders are') +
      ' on the EnemyList: the next run catches this mail again. ';
    if (offer.dataset.testmode) text += 'Test mode: what was caught in it is still in your mailbox.';
    offer.querySelector('.hint').textContent = text.trim();
    offer.classList.toggle('away', !rows.length);
  }

  function showTicked() {
    var count = entriesIn(tickedRows()).length;
    all('button[data-list]', tools).forEach(function (button) {
      button.textContent = (button.dataset.list === LISTS.friend ? 'Friend ' : 'Enemy ') + count;
      button.title = 'Put ' + (count === 1 ? 'the sender' : 'the ' + count + ' senders') + ' of what is ticked on the ' + button.dataset.list;
      button.classList.toggle('away', !count);
    });
    if (offer) showOffer();
  }

  function onAdded(event) {
    var kind = event.detail.list === LISTS.friend ? 'friend' : 'enemy';
    event.detail.rows.forEach(function (number) {
      var box = form.querySelector('input[name="D' + number + '"]'), row = box && box.closest('tr');
      var link = row && row.querySelector('td.from a[data-sender]'), restore = row && row.querySelector('td.restore input');
      // An enemy stays one: that list wins.
      if (!link || link.dataset.known === 'enemy') return;
      link.dataset.known = kind;
      showLists(link);
      if (kind === 'enemy' && restore && restore.checked) restore.checked = false;
    });
    form.dispatchEvent(new Event('change'));
  }

  function start() {
    var strip = get.call(document, 'strip'), acts;
    form = get.call(document, 'boxes');
    if (!form || !strip.getAttribute('data-status')) return;
    tools = document.querySelector('.tools .acts');
    offer = document.querySelector('.tools .offer');
    if (offer && JSON.parse(strip.getAttribute('data-now')).testMode) offer.dataset.testmode = '1';
    if (offer) offer.addEventListener('change', function (event) { refused = !event.target.checked; });
    senders().forEach(showLists);
    acts = tools.querySelector('button');
    acts.before(listButton('friend', ''), listButton('enemy', ''));
    document.addEventListener('click', function (event) {
      var button = event.target.closest('button[data-list]');
      if (!button) return;
      add(button.dataset.list, tools.contains(button) ? entriesIn(tickedRows()) : [entryOf(button.closest('td').querySelector('a'))]);
    });
    form.addEventListener('change', showTicked);
    document.addEventListener('entries-added', onAdded);
    showTicked();
  }

  document.addEventListener('DOMContentLoaded', start);
})();
