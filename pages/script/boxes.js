// Long lists of messages: a filter over the rows of the page, ranges of ticks, the newest first, and the height of what
// sticks to the window's edge. Runs in the head; the build puts it into top.inc.
'use strict';
(function () {
  var find = Document.prototype.querySelector.bind(document), findAll = Document.prototype.querySelectorAll.bind(document);
  var listen = EventTarget.prototype.addEventListener, tell = EventTarget.prototype.dispatchEvent;

  function all(selector) { return Array.prototype.slice.call(findAll(selector)); }
  function rows() { return all('#boxes tbody tr'); }
  function boxesOf(row) { return Array.prototype.slice.call(row.querySelectorAll('td.restore input, td.delete input')); }
  function isTicked(row) { return boxesOf(row).some(function (box) { return box.checked; }); }
  function changed() { tell.call(find('#boxes'), new Event('change')); }

  function stored(name, value) {
    try {
      if (value !== undefined) localStorage.setItem(name, value);
      return localStorage.getItem(name);
    } catch (e) { return null; /* a browser that stores nothing */ }
  }

  // ---- the filter ----

  function plain(text) { return text.normalize('NFKC').toLowerCase(); }
  // All of a row's sender and subject, what is cut included.
  function textOf(row) {
    return plain(Array.prototype.map.call(row.querySelectorAll('td.from, td.subject, [data-whole]'), function (part) {
      return part.getAttribute('data-whole') || part.textContent;
    }).join('\n'));
  }

  function filter() {
    var wanted = plain(find('#filter').value.trim()), list = rows(), shown, away;
    list.forEach(function (row) { row.hidden = wanted !== '' && textOf(row).indexOf(wanted) < 0; });
    shown = list.filter(function (row) { return !row.hidden; });
    away = list.filter(function (row) { return row.hidden && isTicked(row); });
    find('#shown').textContent = !wanted ? '' : shown.length + ' of the ' + list.length + (list.length === 1 ? ' row' : ' rows') +
      ' of this page shown.' + (!away.length ? '' : away.length === 1 ? ' 1 row that is not shown is ticked.'
        : ' ' + away.length + ' rows that are not shown are ticked.');
    find('#untick').hidden = !away.length;
  }

  function setUpFilter() {
    var field = find('#filter');
    if (!rows().some(function (row) { return boxesOf(row).length; })) return;
    find('.view').hidden = false;
    // Coming back to this very page in the browser's history finds it as it was.
    if (history.state && history.state.filter) field.value = history.state.filter;
    field.addEventListener('input', function () {
      var state = {};
      Object.keys(history.state || {}).forEach(function (name) { state[name] = history.state[name]; });
      state.filter = field.value;
      history.replaceState(state, '');
      filter();
      changed();
    });
    field.addEventListener('keydown', function (event) {
      if (event.key !== 'Escape' || !field.value) return;
      event.preventDefault();
      field.value = '';
      field.dispatchEvent(new Event('input'));
    });
    find('#untick').addEventListener('click', function () {
      rows().filter(function (row) { return row.hidden; }).forEach(function (row) {
        boxesOf(row).forEach(function (box) { box.checked = false; });
      });
      field.focus();
      changed();
    });
    listen.call(find('#boxes'), 'change', filter);
    if (field.value) changed();
  }

  // ---- ranges ----

  // Shift and a click give all shown boxes of the column, from the one that was clicked last to this one, its state.
  function setUpRanges() {
    var last = {}, shift = false, form = find('#boxes');
    function columnOf(box) { return box.closest('td').classList.contains('restore') ? 'restore' : 'delete'; }
    // The cell around a box clicks it, without the key.
    listen.call(form, 'click', function (event) { if (event.isTrusted) shift = event.shiftKey; }, true);
    // Shift and a click would mark text.
    listen.call(form, 'mousedown', function (event) { if (event.shiftKey && event.target.closest('td.box')) event.preventDefault(); });
    listen.call(form, 'click', function (event) {
      var box = event.target, column, list, from, to;
      if (!box.closest('tbody') || box.type !== 'checkbox') return;
      column = columnOf(box);
      list = rows().filter(function (row) { return !row.hidden; }).map(function (row) { return row.querySelector('td.' + column + ' input'); });
      from = list.indexOf(last[column]);
      to = list.indexOf(box);
      last[column] = box;
      if (!shift || from < 0) return;
      list.slice(Math.min(from, to), Math.max(from, to) + 1).forEach(function (one) { one.checked = box.checked; });
      box.focus();
      changed();
    });
  }

  // ---- the newest first ----

  // The list on the server begins with the oldest. The other way round the first page is the one of its last rows; each
  // page is shown upside down, and the links lead the other way.
  function setUpOrder() {
    var button = find('#newest'), jump = find('form.jump'), list, first, size, total, base;
    function isOn() { return stored('newest-first') === '1'; }
    function to(start) { return base + '&msg=' + Math.max(0, Math.min(start, total - size)); }
    if (!button || find('.view').hidden) return;
    button.setAttribute('aria-pressed', String(isOn()));
    base = location.pathname + location.search.replace(/&msg=.*/i, '');
    if (jump) {
      first = Number(jump.getAttribute('data-first'));
      size = Number(jump.getAttribute('data-size'));
      total = Number(jump.getAttribute('data-total'));
    }
    button.addEventListener('click', function () {
      stored('newest-first', isOn() ? '0' : '1');
      if (jump) location.assign(isOn() ? to(total) : to(0)); else { turn(); button.setAttribute('aria-pressed', String(isOn())); }
    });
    function turn() {
      list = rows();
      list.reverse().forEach(function (row) { row.parentNode.appendChild(row); });
    }
    // The choice of pages begins with the newest, too.
    function turnJump() {
      var choice = jump.querySelector('select'), step = Number(choice.options[1].value), end, from;
      choice.replaceChildren();
      for (end = total; end > 0; end -= step) {
        from = Math.max(0, end - size);
        choice.add(new Option(from + 1 + ' - ' + (from + size), from, false, first <= from && first > from - step));
      }
    }
    if (!isOn()) return;
    // The list as it was just fetched starts with the oldest.
    if (jump && first === 0 && !/&msg=/i.test(location.search)) {
      location.replace(to(total));
      return;
    }
    turn();
    if (!jump) return;
    turnJump();
    all('.pagedesc').forEach(function (place) {
      var steps = { First: first + size < total ? to(total) : '', Prev: first + size < total ? to(first + size) : '',
        Next: first > 0 ? to(first - size) : '', Last: first > 0 ? to(0) : '' };
      Array.prototype.slice.call(place.querySelectorAll('small')).forEach(function (step) {
        var target = steps[step.textContent], link = step.parentNode.localName === 'a' ? step.parentNode : null, made;
        if (target === undefined) return;
        if (!target && link) link.replaceWith(step);
        if (target && !link) {
          made = document.createElement('a');
          step.replaceWith(made);
          made.append(step);
          link = made;
        }
        if (target) link.href = target;
      });
    });
  }

  // In the reader, too, the next message is then the older one.
  function turnReader() {
    var links = find('.around') ? Array.prototype.slice.call(find('.around').children).slice(-2) : [];
    if (stored('newest-first') !== '1' || !/[?&]b=inbox/.test(location.search) || links.length !== 2) return;
    links[0].textContent = 'Next';
    links[1].textContent = 'Previous';
    links[1].after(' ', links[0]);
  }

  // ---- what sticks ----

  // The head of the table sticks below the tools, and what gets the focus is scrolled to below both.
  function measure() {
    var tools = find('.tools'), head = find('#boxes thead'), cell = find('#boxes thead th.box');
    var tall = tools && getComputedStyle(tools).position === 'sticky' ? tools.offsetHeight : 0;
    document.documentElement.style.setProperty('--tools', tall + 'px');
    if (cell) document.documentElement.style.scrollPaddingTop = tall + Math.max(head.offsetHeight, cell.offsetHeight) + 12 + 'px';
  }

  document.addEventListener('DOMContentLoaded', function () {
    turnReader();
    if (!find('#boxes') || !find('.view')) return;
    setUpFilter();
    setUpRanges();
    setUpOrder();
    measure();
    if ('ResizeObserver' in window) new window.ResizeObserver(measure).observe(find('.tools'));
    window.addEventListener('resize', measure);
  });
})();
