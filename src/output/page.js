
// Sorting, filtering and copying: what a page can do besides being read.
'use strict';

const number = (cell) => Number(cell.dataset.n ?? cell.textContent.replace(/[^\d.]/g, ''));

// The whole text of an item, which a row may show without its middle.
const itemOf = (row) => {
  const cell = row.querySelector('.i');
  return (cell.querySelector(':scope > .in > .whole') || cell.querySelector('a, bdi') || cell).textContent;
};

function openAll(open) {
  for (const fold of document.querySelectorAll('details')) {
    if (open && !fold.open) {
      fold.open = true;
      fold.dataset.printed = '';
    } else if (!open && 'printed' in fold.dataset) {
      fold.open = false;
      delete fold.dataset.printed;
    }
  }
}

// A list is one ranking: its first rows stand open, the others in folds behind them.
// Its rows are gathered when somebody wants something of them.
class List {
  constructor(group) {
    this.group = group;
    this.bodies = [...group.querySelectorAll('tbody')];
    this.rooms = this.bodies.map((body) => body.rows.length);
    this.size = this.rooms.reduce((sum, room) => sum + room, 0);
  }

  gather() {
    if (!this.rows) {
      this.rows = this.bodies.flatMap((body) => [...body.rows]);
      this.shown = this.rows;
    }
  }
}

function lay(list, rows) {
  let next = 0;
  list.shown = rows;
  list.bodies.forEach((body, place) => {
    body.replaceChildren(...rows.slice(next, next += list.rooms[place]));
    const fold = body.closest('.fold');
    if (fold) {
      fold.hidden = body.rows.length === 0;
    }
  });
}

function matching(list, wanted) {
  list.texts ||= new Map(list.rows.map((row) => [row, row.textContent.toLowerCase()]));
  const text = wanted.trim().toLowerCase();
  return text === '' ? list.rows : list.rows.filter((row) => list.texts.get(row).includes(text));
}

function sort(list, column, descending) {
  const heads = list.group.querySelectorAll('thead');
  const isItem = heads[0].rows[0].cells[column].className === 'i';
  const isText = isItem || heads[0].rows[0].cells[column].className === 'd';
  const keys = new Map(list.rows.map((row) => {
    const cell = row.cells[column];
    return [row, isItem ? itemOf(row) : isText ? cell.textContent : number(cell)];
  }));
  const compare = isText ? (a, b) => keys.get(a).localeCompare(keys.get(b)) : (a, b) => keys.get(a) - keys.get(b);
  list.rows.sort(descending ? (a, b) => compare(b, a) : compare);
  for (const head of heads) {
    [...head.rows[0].cells].forEach((cell, place) => {
      if (place === column) {
        cell.setAttribute('aria-sort', descending ? 'descending' : 'ascending');
      } else {
        cell.removeAttribute('aria-sort');
      }
    });
  }
}

function addSorting(list, again) {
  for (const head of list.group.querySelectorAll('thead')) {
    [...head.rows[0].cells].forEach((cell, column) => {
      const button = document.createElement('button');
      button.type = 'button';
      button.textContent = cell.textContent;
      const largestFirst = cell.className === 'c' || cell.className === 's';
      button.addEventListener('click', () => {
        list.gather();
        const now = cell.getAttribute('aria-sort');
        sort(list, column, now === null ? largestFirst : now === 'ascending');
        again();
      });
      cell.replaceChildren(button);
    });
  }
}

// A cell that a spreadsheet would take for a formula begins with an apostrophe.
const csvCell = (text) => {
  const guarded = text.replace(/(^|[,;"|\t\n\r])([=+\-@\uff1d\uff0b\uff0d\uff20])/g, "$1'$2");
  return /[",;|'\r\n]|^ | $/.test(guarded) ? `"${guarded.replaceAll('"', '""')}"` : guarded;
};

function csvOf(list) {
  const head = [...list.group.querySelector('thead').rows[0].cells];
  const lines = [head.map((cell) => csvCell(cell.textContent)).join(',')];
  for (const row of list.shown) {
    lines.push([...row.cells].map((cell) => csvCell(
      cell.classList.contains('i') ? itemOf(row) :
        cell.classList.contains('c') ? String(number(cell)) : cell.textContent.trim())).join(','));
  }
  return lines.join('\r\n') + '\r\n';
}

// Also where the page is not of a secure origin.
function copy(text) {
  const give = (event) => {
    event.clipboardData.setData('text/plain', text);
    event.preventDefault();
  };
  document.addEventListener('copy', give);
  const copied = document.execCommand('copy');
  document.removeEventListener('copy', give);
  return copied;
}

const counted = (count) => `${count.toLocaleString('en')} ${count === 1 ? 'row' : 'rows'}`;

function addTools(list, name) {
  const tools = document.createElement('div');
  tools.className = 'tools';
  const filter = document.createElement('input');
  filter.type = 'search';
  filter.placeholder = 'Filter';
  filter.setAttribute('aria-label', `Filter: ${name}`);
  const button = document.createElement('button');
  button.type = 'button';
  button.textContent = 'Copy as CSV';
  const said = document.createElement('span');
  said.setAttribute('role', 'status');
  const again = () => lay(list, filter.value === '' ? list.rows : matching(list, filter.value));
  filter.addEventListener('input', () => {
    list.gather();
    again();
    said.textContent = filter.value === '' ? '' : `${counted(list.shown.length)} found`;
  });
  button.addEventListener('click', () => {
    list.gather();
    said.textContent = copy(csvOf(list)) ? `${counted(list.shown.length)} copied` : 'This browser does not copy';
  });
  tools.append(said, ...(list.size > 10 ? [filter] : []), button);
  // Of a table that is folded as a whole, they are folded with it.
  const first = list.group.firstElementChild;
  if (first.className === 'fold') {
    first.firstElementChild.after(tools);
  } else {
    first.before(tools);
  }
  addSorting(list, again);
}

for (const group of document.querySelectorAll('.list')) {
  const list = new List(group);
  if (list.size > 1) {
    addTools(list, group.dataset.name);
  }
}
addEventListener('beforeprint', () => openAll(true));
addEventListener('afterprint', () => openAll(false));
